// Records written into a message being built, names compressed against what is already there, and
// the data of received records read back: shared by the query path and zone replication.
#pragma once

#include "net/bytes.h"
#include "store/dns_record.h"
#include "wire/message.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quorvane {

// One resource record: owner, type, class IN, the TTL given, and the data with its length. Names
// inside the data are compressed too where the type allows it; stored data that does not fit its
// type's fields goes out up to the first field that does not fit.
void appendRecord(Bytes& out, const clDNSRecord& record, int32_t ttl);

// The data of a received record in the store's form (Data, and Pref for MX), by record.RecType:
// by its row's fields, or as received for a type without a row. False for data that cannot be
// kept: cut short, a name in it that cannot be read, or bytes after the last field. Names inside
// rdata may point anywhere into message.
bool readRecordData(std::string_view message, std::string_view rdata, clDNSRecord& record);

} // namespace quorvane
