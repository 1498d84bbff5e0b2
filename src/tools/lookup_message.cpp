#include "tools/lookup_message.h"

#include "query/record_wire.h"
#include "store/record_data.h"
#include "store/zone_text.h"
#include "wire/addresses.h"
#include "wire/addresses6.h"
#include "wire/message.h"
#include "wire/record_types.h"
#include "wire/type_names.h"

#include <cstdio>

namespace quorvane {

namespace {

// The data of a record as a zone file writes it, or its bytes in hex for a type without a text.
std::string dataText(std::string_view message, const RecordView& view)
{
    clDNSRecord record;
    record.RecType = static_cast<int16_t>(view.type);
    if (readRecordData(message, view.rdata, record)) {
        if (const auto text = recordDataText(record)) return text->substr(text->find(' ') + 1);
    }
    std::string hex = "\\# " + std::to_string(view.rdata.size()) + " ";
    for (const char c : view.rdata) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02x", static_cast<unsigned char>(c));
        hex += pair;
    }
    return hex;
}

} // namespace

LookupQuestion lookupQuestion(std::string_view typed, std::string_view type, bool recursion)
{
    LookupQuestion question{absoluteName(".", lowerAscii(typed)), 1, recursion};
    const RecordType* row = findRecordType(type);
    question.type = row ? row->code : kTypeAny;
    if (const auto v4 = parseAddress(typed))
        question = {DataToArpa(*v4), rtype::PTR, recursion};
    else if (const auto v6 = parseAddress6(typed))
        question = {Data6ToArpa(*v6), rtype::PTR, recursion};
    return question;
}

Bytes lookupQuery(const LookupQuestion& question, uint16_t id)
{
    Bytes out;
    startMessage(out, id, question.recursion ? 0x0100u : 0u, {});
    appendQuestion(out, question.name, question.type);
    return out;
}

LookupAnswer readLookupAnswer(std::string_view message, uint16_t id)
{
    LookupAnswer answer;
    if (message.size() < 12 || static_cast<uint16_t>(shortAt(message, 0)) != id ||
        !(byteAt(message, 2) & 0x80)) {
        answer.error = "not a reply to the question";
        return answer;
    }
    const unsigned flags = static_cast<unsigned>(shortAt(message, 2));
    const std::pair<unsigned, const char*> names[] = {
        {0x8000, "qr"}, {0x0400, "aa"}, {0x0200, "tc"}, {0x0100, "rd"}, {0x0080, "ra"}};
    for (const auto& [bit, name] : names)
        if (flags & bit) answer.flags += answer.flags.empty() ? name : std::string(" ") + name;
    answer.rcode = static_cast<int>(flags & 0x0F);
    WireReader reader(message, 12);
    skipQuestions(reader, countAt(message, 0));
    const char* sections[] = {"Answer", "Authority", "Additional"};
    for (int section = 1; section <= 3; ++section)
        for (int i = 0; i < countAt(message, section); ++i) {
            RecordView view;
            if (!readRecord(reader, view)) {
                answer.error = "the reply is cut short";
                return answer;
            }
            answer.rows.push_back(
                {sections[section - 1], view.name, view.ttl, RTypeN(view.type), dataText(message, view)});
        }
    answer.ok = true;
    return answer;
}

std::string hexDump(std::string_view bytes)
{
    std::string out;
    for (size_t at = 0; at < bytes.size(); at += 16) {
        char line[80];
        std::snprintf(line, sizeof line, "%04zx ", at);
        out += line;
        std::string printable;
        for (size_t i = at; i < at + 16; ++i) {
            if (i >= bytes.size()) {
                out += "   ";
                continue;
            }
            const auto byte = static_cast<unsigned char>(bytes[i]);
            std::snprintf(line, sizeof line, " %02x", byte);
            out += line;
            printable += byte >= 32 && byte < 127 ? static_cast<char>(byte) : '.';
        }
        out += "  " + printable + "\n";
    }
    return out;
}

} // namespace quorvane
