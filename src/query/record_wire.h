// Records written into a message being built, names compressed against what is already there:
// shared by the answers of the query path and the zone-transfer server.
#pragma once

#include "net/bytes.h"
#include "store/dns_record.h"

#include <cstddef>
#include <cstdint>

namespace quorvane {

// Two bytes, high byte first.
inline void putShort(Bytes& out, size_t value)
{
    out += static_cast<char>(value >> 8 & 0xFF);
    out += static_cast<char>(value & 0xFF);
}

// One resource record: owner, type, class IN, the TTL given, and the data with its length. Names
// inside the data are compressed too; an SOA whose data is malformed goes out with empty data.
void appendRecord(Bytes& out, const clDNSRecord& record, int32_t ttl);

} // namespace quorvane
