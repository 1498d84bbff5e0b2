// The record-type table through every reader and writer that walks it: each row's zone-file line,
// wire bytes and log text, read and written back. A row without a case here fails the test.
#include "query/record_wire.h"
#include "store/record_data.h"
#include "store/zone_parser.h"
#include "support/call_table.h"
#include "wire/numbers.h"
#include "wire/record_types.h"
#include "wire/type_names.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

namespace quorvane {

namespace {

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
    std::set<int> tested;
    std::ifstream table(std::string(QUORVANE_WIRE_DATA) + "/record_types.txt");
    for (std::string line; std::getline(table, line);) {
        if (line.empty() || line[0] == '#') continue;
        const test::Args c = test::tableFields(line);
        ASSERT_EQ(c.size(), 3u) << line;
        SCOPED_TRACE(c[0]);
        const clDNSRecord record = readLine(c[0]);
        const RecordType* row = findRecordType(record.RecType);
        ASSERT_NE(row, nullptr);
        tested.insert(row->code);
        EXPECT_EQ(RTypeN(row->code), row->mnemonic);
        EXPECT_EQ(recordDataText(record), c[0]);
        EXPECT_EQ(recordLogText(record), c[2]);

        Bytes message;
        appendRecord(message, record, 60);
        const Bytes& wire = c[1];
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
