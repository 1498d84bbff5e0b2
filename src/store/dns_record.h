// clDNSRecord: one resource record of the store, with its TTL counted down against the clock.
// A plain value: it never looks at a clock itself; callers pass the current date-time.
#pragma once

#include "net/bytes.h"
#include "net/clock.h"
#include "wire/record_types.h"

#include <cstdint>
#include <string>

namespace quorvane {

// The store's own entries beside the record types of wire/record_types.h. Codes of kMarkerBase and
// above are the cache's marker entries: kMarkerBase + t stands for "no records of type t",
// kNameMarker for "no such name".
namespace rtype {
inline constexpr int16_t DFCN = 3000; // a zone's forwarding entry; its data is a target name
inline constexpr int kMarkerBase = 1000;
inline constexpr int16_t kNameMarker = 2000;
} // namespace rtype

// The key of a record added from a file; 0 stands for a learned record, which has none. Keys only
// grow while the server runs; 64 bits so that years of reloads never bring an old key back.
using RecordKey = uint64_t;

// Data of a type of the record-type table: its fields one after the other, each as on the wire
// except names, which are text in normal form followed by a zero byte unless they end the data,
// and an MX preference, which is in Pref. So A holds the 4 address bytes; NS, CNAME and PTR the
// target name; SOA the primary name, a zero byte, the mailbox name, a zero byte and the five
// numbers; TXT its character strings. DFCN holds its target name; any other learned type the
// data as received.
class clDNSRecord
{
public:
    bool Permanent = false; // zone, hosts-file and root records never expire
    int16_t RecType = 0;
    std::string Name;  // owner in normal form ("host.sub.zone.")
    Bytes Data;        // as by type below; names inside are text in normal form, not wire form
    int32_t Pref = 0;  // MX preference; -1 for hosts-file A and PTR records
    int16_t RoRo = 0;  // round-robin position of the answer builder
    RecordKey Key = 0; // the key under which CacheAddF stored it; 0 for a learned record

    // Stores the TTL and restarts the record's life: it expires ttl seconds after now.
    void setTTL(int32_t ttl, DateTime now);
    // A permanent record's TTL as set; otherwise the remaining life in whole seconds, rounded,
    // which is zero or negative once the record has expired.
    int32_t TTL(DateTime now) const;
    // When the record expires; a permanent record always lies ttl seconds ahead of now.
    DateTime TimeOut(DateTime now) const;

private:
    DateTime m_expiry = 0;
    int32_t m_ttl = 0;
};

} // namespace quorvane
