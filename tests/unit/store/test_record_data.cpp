#include "store/record_data.h"

#include "support/call_table.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {

// The text txtText writes for prepareTxt's data, which must be `expected` and read back the same.
std::string prepared(const test::Args& a)
{
    const auto data = prepareTxt(a[0]);
    if (!data) return "none";
    if (*data != a[1]) return "other data: " + *data;
    const std::string written = txtText(*data);
    return prepareTxt(written) == data ? written : "does not read back: " + written;
}

std::string dataText(const test::Args& a)
{
    clDNSRecord record;
    record.RecType = static_cast<int16_t>(std::stoi(a[0]));
    record.Data = a[1];
    record.Pref = std::stoi(a[2]);
    return recordDataText(record).value_or("-");
}

} // namespace

TEST(RecordData, TxtAndRecordTextsFromTheirTable)
{
    const test::Calls calls = {
        {"prepareTxt", prepared},
        {"txtText", [](const test::Args& a) { return txtText(a[0]); }},
        {"recordDataText", dataText},
    };
    test::runCallTable(QUORVANE_STORE_DATA "/record_data_calls.txt", calls, 20);
}

TEST(RecordData, SoaDataReadsBackAndRefusesCutData)
{
    const SoaFields soa{"ns.zone.", "admin.zone.", 4000000000u, 3600, 600, 604800, 300};
    const Bytes data = makeSoaData(soa);
    EXPECT_EQ(data.size(), 9u + 12u + 20u);
    const auto back = readSoa(data);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->serial, 4000000000u);
    EXPECT_EQ(back->minimum, 300u);
    EXPECT_FALSE(readSoa(data.substr(0, data.size() - 1)));
    EXPECT_FALSE(readSoa("ns.zone."));
}

} // namespace quorvane
