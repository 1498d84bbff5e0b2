// Test helpers: build a query and decode a reply into readable parts, using the codec's readers.
#pragma once

#include "net/bytes.h"

#include <string>
#include <string_view>
#include <vector>

namespace quorvane::test {

using Lines = std::vector<std::string>;

Bytes makeQuery(uint16_t id, const std::string& name, uint16_t type, bool recursionDesired);
// The query with an OPT record added (payload size, EDNS version).
Bytes withOpt(Bytes query, uint16_t payload, int version = 0);

struct DecodedRecord {
    int section = 0; // 2 answer, 3 authority, 4 additional
    std::string name;
    int type = 0;
    long ttl = 0;
    std::string data; // A dotted; NS/CNAME/PTR the name; MX "pref name"; SOA "primary mailbox serial";
                      // AAAA its text; SRV "priority weight port target"; CAA 'flags tag "value"';
                      // OPT "payload P ext E version V"
};

struct DecodedReply {
    int id = 0;
    bool qr = false, aa = false, tc = false, rd = false, ra = false;
    int rcode = 0;
    int counts[4] = {};
    std::string qname;
    int qtype = 0;
    std::vector<DecodedRecord> records;
    bool ok = false; // every byte accounted for

    Lines section(int s) const; // "name TYPE data" lines of one section
};

DecodedReply decodeReply(const Bytes& message);
// A message as text for golden files: its header, its question and every record with its section and
// TTL; control characters (the length bytes of TXT data) as a backslash and their decimal code.
std::string replyText(const DecodedReply& r);

// A record as another server sends it, uncompressed.
struct WireRecord {
    int section = 2; // 2 answer, 3 authority, 4 additional
    std::string name;
    uint16_t type = 1;
    uint32_t ttl = 3600;
    Bytes rdata;
};
WireRecord wireA(int section, const std::string& name, const std::string& address, uint32_t ttl = 3600);
// NS, CNAME or PTR: a record whose data is one name.
WireRecord wireName(int section, const std::string& name, uint16_t type, const std::string& target,
                    uint32_t ttl = 3600);
// A SOA record: ns.<zone> admin.<zone> serial 3600 600 86400 minimum.
WireRecord wireSoa(const std::string& zone, uint32_t ttl, uint32_t minimum, uint32_t serial = 1, int section = 3);

// Another server's answer to a query: its identifier and question, QR and RA set, AA as given,
// the response code, then the records by section.
Bytes makeAnswer(std::string_view query, int rcode, bool aa, const std::vector<WireRecord>& records);

// A message with its length in front, as sent over TCP; and every whole message of such a stream,
// decoded.
Bytes framed(std::string_view message);
std::vector<DecodedReply> decodeFramed(std::string_view stream);

} // namespace quorvane::test
