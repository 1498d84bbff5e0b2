#include "wire/message.h"

#include "wire/dns_codes.h"
#include "wire/names.h"

namespace quorvane {

void startMessage(Bytes& out, int id, unsigned flags, const SectionCounts& counts)
{
    out.clear();
    putShort(out, static_cast<size_t>(id & 0xFFFF));
    putShort(out, flags & 0xFFFF);
    for (const size_t count : {counts.question, counts.answer, counts.authority, counts.additional})
        putShort(out, count);
}

void appendQuestion(Bytes& out, std::string_view name, int type)
{
    appendName(out, name);
    putShort(out, static_cast<size_t>(type & 0xFFFF));
    putShort(out, kClassIN);
}

void echoAsReply(Bytes& out, std::string_view request, int fourthByte)
{
    out.assign(request);
    out[2] = static_cast<char>(byteAt(request, 2) | 0x80);
    if (fourthByte >= 0) out[3] = static_cast<char>(fourthByte);
}

void skipQuestions(WireReader& reader, int count)
{
    for (; count > 0 && reader.ok(); --count) {
        reader.name();
        reader.bytes(4);
    }
}

bool readRecord(WireReader& reader, RecordView& record)
{
    record.name = reader.name();
    record.type = reader.shortValue();
    record.dnsClass = reader.shortValue();
    record.ttl = static_cast<int32_t>(reader.longValue());
    record.rdata = reader.bytes(static_cast<size_t>(reader.shortValue()));
    return reader.ok();
}

} // namespace quorvane
