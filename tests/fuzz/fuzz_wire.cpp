// Reads arbitrary bytes as a received DNS message, field by field as a parser walks it, and writes
// each readable name back against the message, as an answer would. Any crash, sanitizer report,
// hang or broken round trip is a finding.
#include "fuzz_support.h"
#include "wire/addresses.h"
#include "wire/names.h"
#include "wire/numbers.h"

namespace {

using namespace quorvane;
using fuzz::check;

// Names of non-empty labels of plain host-name characters, at most 63 long, survive writing and
// reading unchanged; others (dots or blanks inside labels, long or empty labels) legitimately do not.
bool plainName(std::string_view name)
{
    if (name == "." || endsIncomplete(name)) return false;
    size_t label = 0;
    for (char c : name) {
        if (c == '.') {
            if (label == 0) return false;
            label = 0;
        } else if (++label > 63 ||
                   !((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_')) {
            return false;
        }
    }
    return true;
}

void writeBack(std::string_view message, const std::string& name)
{
    ZipName(name, message);
    ArpaToData(name);
    if (!plainName(name)) return;
    for (const std::string& context : {std::string(), std::string(message)}) {
        const std::string written = context + ZipName(name, context);
        std::string_view rest = std::string_view(written).substr(context.size());
        check(ExtractName(written, rest, true) == name && rest.empty());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view message = fuzz::bytesOf(data, size);
    std::string_view rest = message;
    const int32_t id = ExtractShort(rest, true);
    for (int field = 0; field < 5; ++field)
        ExtractShort(rest, true);
    std::string_view atId =
        message.substr(std::min<size_t>(static_cast<size_t>(id & 0x3FFF), message.size()));
    writeBack(message, ExtractName(message, atId, false));

    // Every read takes at least one byte or empties what is left, so this ends.
    while (!rest.empty()) {
        std::string_view peek = rest;
        const std::string name = ExtractName(message, peek, false);
        check(peek == rest);
        const size_t before = rest.size();
        check(ExtractName(message, rest, true) == name && rest.size() < before);
        writeBack(message, name);
        ExtractShort(rest, true);
        ExtractLong(rest, true);
    }
    return 0;
}
