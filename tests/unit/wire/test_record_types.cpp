// The record-type table through every reader and writer that walks it: each row's zone-file line,
// wire bytes and log text, read and written back. A row without a case here fails the test.
#include "query/record_wire.h"
#include "store/record_data.h"
#include "store/zone_parser.h"
#include "wire/numbers.h"
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
    std::string wire; // the data on the wire in hex (blanks ignored), after the owner "zone." at offset 0
    std::string log;  // after "-> Answer: TYPE-record for zone. = "
};

Bytes fromHex(std::string hex)
{
    std::erase(hex, ' ');
    Bytes out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return out;
}

// The one record of a zone-file line under the origin "zone.", as the store keeps it.
clDNSRecord readLine(const std::string& text)
{
    std::istringstream line("@ 60 IN " + text + "\n");
    clDNSRecord record;
    record.Name = "zone.";
    const auto keep = [&](ZoneRecord&& r) {
        record.RecType = r.type;
        record.Data = r.data;
        record.Pref = r.pref;
    };
    readZoneText(line, "zone.", keep, nullptr);
    return record;
}

} // namespace

TEST(RecordTypes, EveryRowReadsAndWritesItsDataThroughTheTable)
{
    const Case cases[] = {
        {"A 10.0.0.1", "0a000001", "10.0.0.1"},
        // Names in the oldest types point back at the owner; the rest of the name is written out.
        {"NS ns.zone.", "026e73c000", "ns.zone."},
        {"CNAME www.other.", "03777777056f7468657200", "www.other."},
        {"SOA ns.zone. admin.zone. 7 3600 600 86400 300",
         "026e73c000 0561646d696ec000 00000007 00000e10 00000258 00015180 0000012c", "ns.zone. (Serial 7)"},
        {"PTR host.zone.", "04686f7374c000", "host.zone."},
        {"MX 10 mail.zone.", "000a046d61696cc000", "[10] mail.zone."},
        {R"(TXT "two words" "x\059")", "0974776f20776f72647302783b", R"("two words" "x\059")"},
        {"AAAA 2001:db8::1", "20010db8000000000000000000000001", "2001:db8::1"},
        // An SRV target is never compressed.
        {"SRV 10 60 5060 sip.zone.", "000a 003c 13c4 03736970047a6f6e6500", "10 60 5060 sip.zone."},
        // A CAA value is one string of any bytes, written with the escapes of TXT strings.
        {R"(CAA 128 issue "ca.net\059 x\"")", "80 05697373756563 612e6e65743b207822",
         R"(128 issue "ca.net\059 x\"")"},
    };
    std::set<int> tested;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const clDNSRecord record = readLine(c.text);
        const RecordType* row = findRecordType(record.RecType);
        ASSERT_NE(row, nullptr);
        tested.insert(row->code);
        EXPECT_EQ(RTypeN(row->code), row->mnemonic);
        EXPECT_EQ(recordDataText(record), c.text);
        EXPECT_EQ(recordLogText(record), c.log);

        Bytes message;
        appendRecord(message, record, 60);
        const Bytes wire = fromHex(c.wire);
        const size_t at = 6 + 10; // after "zone.", type, class, TTL and the data's length
        EXPECT_EQ(message.substr(at - 2), MakeShort(static_cast<int32_t>(wire.size())) + wire);
        clDNSRecord back;
        back.RecType = record.RecType;
        ASSERT_TRUE(readRecordData(message, std::string_view(message).substr(at), back));
        EXPECT_EQ(back.Data, record.Data);
        EXPECT_EQ(back.Pref, record.Pref);
        // Data cut short, or with a byte after its last field, is not kept, unless the last field
        // takes whatever bytes there are.
        const Field last = *(row->fields.end() - 1);
        const bool takesRest = last == Field::Strings || last == Field::Rest;
        const std::string_view cut = std::string_view(message).substr(at, wire.size() - 1);
        EXPECT_EQ(readRecordData(message, cut, back), takesRest);
        const Bytes longer = message + '\x01';
        EXPECT_EQ(readRecordData(longer, std::string_view(longer).substr(at), back), takesRest);
    }
    std::set<int> rows;
    for (const RecordType& row : recordTypes()) rows.insert(row.code);
    EXPECT_EQ(tested, rows) << "every row of the table has a case here";
}

} // namespace quorvane
