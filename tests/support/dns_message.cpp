#include "support/dns_message.h"

#include "wire/addresses.h"
#include "wire/addresses6.h"
#include "wire/message.h"
#include "wire/names.h"
#include "wire/numbers.h"
#include "wire/tcp_frame.h"
#include "wire/type_names.h"

#include <map>
#include <sstream>

namespace quorvane::test {

// The data of record types made of names (N), 16-bit (S) and 32-bit (L) numbers, as far as tests
// read it: NS, CNAME, PTR, MX, SOA (up to the serial), SRV.
const std::map<int, std::string_view> kShapes{{2, "N"}, {5, "N"}, {12, "N"}, {15, "SN"}, {6, "NNL"}, {33, "SSSN"}};

Bytes makeQuery(uint16_t id, const std::string& name, uint16_t type, bool recursionDesired)
{
    Bytes m;
    startMessage(m, id, recursionDesired ? 0x0100 : 0, {});
    appendQuestion(m, name, type);
    return m;
}

Bytes withOpt(Bytes query, uint16_t payload, int version)
{
    query[11] = static_cast<char>(query[11] + 1);
    query += std::string(1, '\0') + MakeShort(41) + MakeShort(payload) + '\0' + static_cast<char>(version);
    return query + MakeShort(0) + MakeShort(0);
}

DecodedReply decodeReply(const Bytes& message)
{
    DecodedReply d;
    if (message.size() < 12) return d;
    std::string_view rest(message);
    d.id = ExtractShort(rest, true);
    const int flags = ExtractShort(rest, true);
    d.qr = (flags & 0x8000) != 0;
    d.aa = (flags & 0x0400) != 0;
    d.rd = (flags & 0x0100) != 0;
    d.ra = (flags & 0x0080) != 0;
    d.tc = (flags & 0x0200) != 0;
    d.rcode = flags & 0x0F;
    for (int& count : d.counts) count = ExtractShort(rest, true);
    d.qname = ExtractName(message, rest, true);
    d.qtype = ExtractShort(rest, true);
    ExtractShort(rest, true);
    for (int section = 2; section <= 4; ++section) {
        for (int i = 0; i < d.counts[section - 1]; ++i) {
            DecodedRecord r;
            r.section = section;
            r.name = ExtractName(message, rest, true);
            r.type = ExtractShort(rest, true);
            const int dnsClass = ExtractShort(rest, true);
            r.ttl = static_cast<long>(ExtractLong(rest, true));
            const auto length = static_cast<size_t>(ExtractShort(rest, true));
            if (rest.size() < length) return d;
            std::string_view rdata = rest.substr(0, length);
            rest.remove_prefix(length);
            if (r.type == 1) {
                r.data = DataToIP(rdata);
            } else if (const auto shape = kShapes.find(r.type); shape != kShapes.end()) {
                for (const char field : shape->second)
                    r.data += (field == 'N'   ? ExtractName(message, rdata, true)
                               : field == 'S' ? std::to_string(ExtractShort(rdata, true))
                                              : std::to_string(static_cast<long>(ExtractLong(rdata, true)))) + ' ';
                r.data.pop_back();
            } else if (r.type == 28) {
                r.data = Data6ToText(rdata);
            } else if (r.type == 257 && rdata.size() >= 2) {
                const size_t tag = static_cast<unsigned char>(rdata[1]);
                r.data = std::to_string(static_cast<unsigned char>(rdata[0])) + ' ' +
                         std::string(rdata.substr(2, tag)) + " \"" + std::string(rdata.substr(2 + tag)) + '"';
            } else if (r.type == 41) {
                r.data = "payload " + std::to_string(dnsClass) + " ext " + std::to_string(r.ttl >> 24) +
                         " version " + std::to_string(r.ttl >> 16 & 0xFF);
            } else {
                r.data = std::string(rdata);
            }
            d.records.push_back(r);
        }
    }
    d.ok = rest.empty();
    return d;
}

std::string replyText(const DecodedReply& r)
{
    std::ostringstream out;
    out << "id " << r.id << " rcode " << r.rcode << (r.qr ? " qr" : "") << (r.aa ? " aa" : "") << (r.tc ? " tc" : "")
        << (r.rd ? " rd" : "") << (r.ra ? " ra" : "") << '\n'
        << "question " << r.qname << ' ' << RTypeN(r.qtype) << '\n';
    const char* names[] = {"", "", "answer", "authority", "additional"};
    for (const auto& rec : r.records) {
        out << names[rec.section] << ' ' << rec.name << ' ' << RTypeN(rec.type) << ' ';
        for (const char c : rec.data) out << (c >= 0 && c < 0x20 ? "\\" + std::to_string(c) : std::string(1, c));
        out << " ttl " << rec.ttl << '\n';
    }
    return out.str();
}

WireRecord wireA(int section, const std::string& name, const std::string& address, uint32_t ttl)
{
    return {section, name, 1, ttl, IPToData(address)};
}

WireRecord wireName(int section, const std::string& name, uint16_t type, const std::string& target,
                    uint32_t ttl)
{
    return {section, name, type, ttl, ZipName(target, "")};
}

WireRecord wireSoa(const std::string& zone, uint32_t ttl, uint32_t minimum, uint32_t serial, int section)
{
    Bytes data = ZipName("ns." + zone, "") + ZipName("admin." + zone, "");
    for (const uint32_t value : {serial, 3600u, 600u, 86400u, minimum}) data += MakeLong(value);
    return {section, zone, 6, ttl, data};
}

Bytes makeAnswer(std::string_view query, int rcode, bool aa, const std::vector<WireRecord>& records)
{
    std::string_view rest = query.substr(12);
    ExtractName(query, rest, true);
    Bytes m(query.substr(0, query.size() - rest.size() + 4)); // header and question
    m[2] = static_cast<char>(0x80 | (aa ? 4 : 0) | (query[2] & 1));
    m[3] = static_cast<char>(0x80 | rcode);
    for (int section = 2; section <= 4; ++section) {
        size_t count = 0;
        for (const auto& r : records) {
            if (r.section != section) continue;
            ++count;
            m += ZipName(r.name, "") + MakeShort(r.type) + MakeShort(1) + MakeLong(r.ttl) +
                 MakeShort(static_cast<int32_t>(r.rdata.size())) + r.rdata;
        }
        patchShort(m, static_cast<size_t>(2 + 2 * section), count);
    }
    return m;
}

Bytes framed(std::string_view message)
{
    Bytes out;
    appendFramed(out, message);
    return out;
}

std::vector<DecodedReply> decodeFramed(std::string_view stream)
{
    std::vector<DecodedReply> out;
    size_t at = 0;
    while (const auto message = nextFramed(stream, at)) out.push_back(decodeReply(Bytes(*message)));
    return out;
}

Lines DecodedReply::section(int s) const
{
    Lines lines;
    for (const auto& r : records)
        if (r.section == s) lines.push_back(r.name + ' ' + RTypeN(r.type) + ' ' + r.data);
    return lines;
}

} // namespace quorvane::test
