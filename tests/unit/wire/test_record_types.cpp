// The record-type table through every reader and writer that walks it: each row's zone-file line,
// wire bytes and log text, read and written back. A row without a case here fails the test.
#include "query/record_wire.h"
#include "store/record_data.h"
#include "store/zone_parser.h"
#include "wire/record_types.h"
#include "wire/type_names.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace quorvane {

namespace {

struct Case
{
    std::string text; // type word and data, as a zone file writes them
    Bytes rdata;      // on the wire after the owner "zone." at offset 0 of the message
    std::string log;  // after "-> Answer: TYPE-record for zone. = "
};

Bytes bytes(std::initializer_list<int> values)
{
    Bytes out;
    for (int value : values)
        out += static_cast<char>(value);
    return out;
}

} // namespace

TEST(RecordTypes, EveryRowReadsAndWritesItsDataThroughTheTable)
{
    const Case cases[] = {
        {"A 10.0.0.1", bytes({10, 0, 0, 1}), "10.0.0.1"},
        // Names in the oldest types point back at the owner; the rest of the name is written out.
        {"NS ns.zone.", Bytes("\x02ns\xc0\x00", 5), "ns.zone."},
        {"CNAME www.other.", Bytes("\x03www\x05other\x00", 11), "www.other."},
        {"SOA ns.zone. admin.zone. 7 3600 600 86400 300",
         Bytes("\x02ns\xc0\x00\x05"
               "admin\xc0\x00",
               13) +
             bytes({0, 0, 0, 7, 0, 0, 14, 16, 0, 0, 2, 88}) + bytes({0, 1, 81, 128, 0, 0, 1, 44}),
         "ns.zone. (Serial 7)"},
        {"PTR host.zone.", Bytes("\x04host\xc0\x00", 7), "host.zone."},
        {"MX 10 mail.zone.", Bytes("\x00\x0a\x04mail\xc0\x00", 9), "[10] mail.zone."},
        {"TXT \"two words\" \"x\\059\"", Bytes("\x09two words\x02x;", 13), "\"two words\" \"x\\059\""},
        {"AAAA 2001:db8::1", bytes({0x20, 1, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}), "2001:db8::1"},
        // An SRV target is never compressed.
        {"SRV 10 60 5060 sip.zone.", bytes({0, 10, 0, 60, 0x13, 0xc4}) + Bytes("\x03sip\x04zone\x00", 10),
         "10 60 5060 sip.zone."},
        // A CAA value is one string of any bytes, written with the escapes of TXT strings.
        {R"(CAA 128 issue "ca.example.net\059 x\"")", Bytes("\x80\x05issueca.example.net; x\"", 25),
         R"(128 issue "ca.example.net\059 x\"")"},
    };
    std::set<int> tested;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        std::istringstream line("@ 60 IN " + c.text + "\n");
        std::vector<ZoneRecord> read;
        readZoneText(
            line, "zone.", [&](ZoneRecord&& r) { read.push_back(std::move(r)); }, nullptr);
        ASSERT_EQ(read.size(), 1u);
        clDNSRecord record;
        record.Name = "zone.";
        record.RecType = read[0].type;
        record.Data = read[0].data;
        record.Pref = read[0].pref;
        const RecordType* row = findRecordType(record.RecType);
        ASSERT_NE(row, nullptr);
        tested.insert(row->code);
        EXPECT_EQ(RTypeN(row->code), row->mnemonic);
        EXPECT_EQ(recordDataText(record), c.text);
        EXPECT_EQ(recordLogText(record), c.log);

        Bytes message;
        appendRecord(message, record, 60);
        const size_t rdataAt = 6 + 10; // "zone." and type, class, TTL, length
        ASSERT_GE(message.size(), rdataAt);
        EXPECT_EQ(message.substr(rdataAt), c.rdata);
        EXPECT_EQ(static_cast<size_t>(static_cast<unsigned char>(message[rdataAt - 2]) << 8 |
                                      static_cast<unsigned char>(message[rdataAt - 1])),
                  c.rdata.size());
        clDNSRecord back;
        back.RecType = record.RecType;
        ASSERT_TRUE(readRecordData(message, std::string_view(message).substr(rdataAt), back));
        EXPECT_EQ(back.Data, record.Data);
        EXPECT_EQ(back.Pref, record.Pref);
        // Data cut short, or with a byte after its last field, is not kept, unless the last field
        // takes whatever bytes there are.
        const Field last = *(row->fields.end() - 1);
        const bool takesRest = last == Field::Strings || last == Field::Rest;
        const std::string_view view(message);
        EXPECT_EQ(readRecordData(message, view.substr(rdataAt, c.rdata.size() - 1), back), takesRest);
        const Bytes longer = message + '\x01';
        EXPECT_EQ(readRecordData(longer, std::string_view(longer).substr(rdataAt), back), takesRest);
    }
    std::set<int> rows;
    for (const RecordType& row : recordTypes())
        rows.insert(row.code);
    EXPECT_EQ(tested, rows) << "every row of the table has a case here";
}

} // namespace quorvane
