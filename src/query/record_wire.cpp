#include "query/record_wire.h"

#include "wire/message.h"
#include "store/record_data.h"
#include "wire/names.h"
#include "wire/numbers.h"

namespace quorvane {

namespace {

void appendRdata(Bytes& out, const clDNSRecord& record)
{
    switch (record.RecType) {
    case rtype::NS:
    case rtype::CNAME:
    case rtype::PTR: appendName(out, record.Data); break;
    case rtype::MX:
        putShort(out, static_cast<uint16_t>(record.Pref));
        appendName(out, record.Data);
        break;
    case rtype::SOA: {
        const auto primaryEnd = record.Data.find('\0');
        const auto mailboxEnd = record.Data.find('\0', primaryEnd + 1);
        if (primaryEnd == Bytes::npos || mailboxEnd == Bytes::npos) break; // malformed: empty data
        appendName(out, std::string_view(record.Data).substr(0, primaryEnd));
        appendName(out, std::string_view(record.Data).substr(primaryEnd + 1, mailboxEnd - primaryEnd - 1));
        out.append(record.Data, mailboxEnd + 1);
        break;
    }
    default: out += record.Data; break; // A, AAAA, TXT (held in wire form) and types learned as received
    }
}

uint32_t takeLong(std::string_view& bytes)
{
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) value = value << 8 | byteAt(bytes, i);
    bytes.remove_prefix(4);
    return value;
}

} // namespace

void appendRecord(Bytes& out, const clDNSRecord& record, int32_t ttl)
{
    appendName(out, record.Name);
    putShort(out, static_cast<uint16_t>(record.RecType));
    putShort(out, 1);
    out += MakeLong(ttl);
    const size_t lengthAt = out.size();
    putShort(out, 0);
    appendRdata(out, record);
    patchShort(out, lengthAt, out.size() - lengthAt - 2);
}

bool readRecordData(std::string_view message, std::string_view rdata, clDNSRecord& record)
{
    switch (record.RecType) {
    case rtype::A:
        record.Data = rdata;
        return rdata.size() == 4;
    case rtype::AAAA:
        record.Data = rdata;
        return rdata.size() == 16;
    case rtype::NS:
    case rtype::CNAME:
    case rtype::PTR:
        record.Data = ExtractName(message, rdata, true);
        return !endsIncomplete(record.Data);
    case rtype::MX:
        if (rdata.size() < 3) return false;
        record.Pref = ExtractShort(rdata, true);
        record.Data = ExtractName(message, rdata, true);
        return !endsIncomplete(record.Data);
    case rtype::SOA: {
        SoaFields soa;
        soa.primary = ExtractName(message, rdata, true);
        soa.mailbox = ExtractName(message, rdata, true);
        if (endsIncomplete(soa.primary) || endsIncomplete(soa.mailbox) || rdata.size() < 20) return false;
        for (uint32_t* field : {&soa.serial, &soa.refresh, &soa.retry, &soa.expire, &soa.minimum})
            *field = takeLong(rdata);
        record.Data = makeSoaData(soa);
        return true;
    }
    default: record.Data = rdata; return true;
    }
}

} // namespace quorvane
