// Test helpers: build a query and decode a reply into readable parts, using the codec's readers.
#pragma once

#include "net/bytes.h"

#include <string>
#include <vector>

namespace quorvane::test {

Bytes makeQuery(uint16_t id, const std::string& name, uint16_t type, bool recursionDesired);

struct DecodedRecord {
    int section = 0; // 2 answer, 3 authority, 4 additional
    std::string name;
    int type = 0;
    long ttl = 0;
    std::string data; // A dotted; NS/CNAME/PTR the name; MX "pref name"; SOA "primary mailbox serial"
};

struct DecodedReply {
    int id = 0;
    bool qr = false, aa = false, rd = false, ra = false;
    int rcode = 0;
    int counts[4] = {};
    std::string qname;
    int qtype = 0;
    std::vector<DecodedRecord> records;
    bool ok = false; // every byte accounted for

    std::vector<std::string> section(int s) const; // "name TYPE data" lines of one section
};

DecodedReply decodeReply(const Bytes& message);

} // namespace quorvane::test
