#include "query/record_wire.h"

#include "wire/names.h"
#include "wire/numbers.h"

namespace quorvane {

namespace {

void patchShort(Bytes& out, size_t at, size_t value)
{
    out[at] = static_cast<char>(value >> 8 & 0xFF);
    out[at + 1] = static_cast<char>(value & 0xFF);
}

void appendRdata(Bytes& out, const clDNSRecord& record)
{
    switch (record.RecType) {
    case rtype::NS:
    case rtype::CNAME:
    case rtype::PTR: out += ZipName(record.Data, out); break;
    case rtype::MX:
        putShort(out, static_cast<uint16_t>(record.Pref));
        out += ZipName(record.Data, out);
        break;
    case rtype::SOA: {
        const auto primaryEnd = record.Data.find('\0');
        const auto mailboxEnd = record.Data.find('\0', primaryEnd + 1);
        if (primaryEnd == Bytes::npos || mailboxEnd == Bytes::npos) break; // malformed: empty data
        out += ZipName(std::string_view(record.Data).substr(0, primaryEnd), out);
        out += ZipName(std::string_view(record.Data).substr(primaryEnd + 1, mailboxEnd - primaryEnd - 1), out);
        out.append(record.Data, mailboxEnd + 1);
        break;
    }
    default: out += record.Data; break; // A, TXT (held in wire form) and types learned as received
    }
}

} // namespace

void appendRecord(Bytes& out, const clDNSRecord& record, int32_t ttl)
{
    out += ZipName(record.Name, out);
    putShort(out, static_cast<uint16_t>(record.RecType));
    putShort(out, 1);
    out += MakeLong(ttl);
    const size_t lengthAt = out.size();
    putShort(out, 0);
    appendRdata(out, record);
    patchShort(out, lengthAt, out.size() - lengthAt - 2);
}

} // namespace quorvane
