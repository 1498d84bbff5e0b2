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
        {"makeSoaData",
         [](const test::Args& a) {
             const auto n = [&a](size_t i) { return static_cast<uint32_t>(std::stoul(a[i])); };
             return makeSoaData({a[0], a[1], n(2), n(3), n(4), n(5), n(6)});
         }},
        {"readSoa",
         [](const test::Args& a) {
             const auto soa = readSoa(a[0]);
             if (!soa) return std::string("none");
             std::string out = soa->primary + ' ' + soa->mailbox;
             for (uint32_t n : {soa->serial, soa->refresh, soa->retry, soa->expire, soa->minimum})
                 out += ' ' + std::to_string(n);
             return out;
         }},
    };
    test::runCallTable(QUORVANE_STORE_DATA "/record_data_calls.txt", calls, 24);
}

} // namespace quorvane
