#include "query/edns.h"

#include "wire/message.h"
#include "wire/dns_codes.h"
#include "wire/wire_reader.h"

#include <algorithm>

namespace quorvane {

namespace {

// True when the option list of an OPT record's data ends exactly where the data ends.
bool optionsFit(std::string_view options)
{
    while (options.size() >= 4) {
        const size_t length = static_cast<size_t>(shortAt(options, 2));
        if (length > options.size() - 4) return false;
        options.remove_prefix(4 + length);
    }
    return options.empty();
}

} // namespace

ClientOpt readClientOpt(std::string_view message, size_t offset)
{
    ClientOpt opt;
    if (message.size() < 12) return opt;
    const int records = shortAt(message, 6) + shortAt(message, 8) + shortAt(message, 10);
    WireReader reader(message, offset);
    for (int i = 0; i < records; ++i) {
        const std::string owner = reader.name();
        const int type = reader.shortValue();
        const auto size = static_cast<uint16_t>(reader.shortValue());
        const auto ttl = static_cast<uint32_t>(reader.longValue());
        const std::string_view data = reader.bytes(static_cast<size_t>(reader.shortValue()));
        if (!reader.ok()) {
            opt.malformed = true;
            return opt;
        }
        if (type != kTypeOPT) continue;
        if (opt.present || owner != "." || !optionsFit(data)) opt.malformed = true;
        opt.present = true;
        opt.version = static_cast<int>(ttl >> 16 & 0xFF);
        opt.size = size;
    }
    return opt;
}

void appendOpt(Bytes& out, int rcode)
{
    out += '\0';                                    // the root
    out += static_cast<char>(0);                    // type 41
    out += static_cast<char>(kTypeOPT);
    out += static_cast<char>(kEdnsPayload >> 8);    // the payload in the class field
    out += static_cast<char>(kEdnsPayload & 0xFF);
    out += static_cast<char>(rcode >> 4 & 0xFF);    // extended response code
    out.append(3, '\0');                            // version 0, no flags
    out.append(2, '\0');                            // no options
}

size_t replyLimit(const ClientOpt& opt)
{
    if (!opt.present) return kPlainReplyLimit;
    return std::clamp<size_t>(opt.size, kPlainReplyLimit, kEdnsPayload);
}

} // namespace quorvane
