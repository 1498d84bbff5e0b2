// Golden files: each tests/data/store/zones/NN_name.zone is read with the origin "example.com."
// and must give exactly the lines of NN_name.expected.
#include "store/zone_parser.h"

#include "store/dns_record.h"
#include "store/record_data.h"

#include "support/call_table.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace quorvane {

namespace {

const std::filesystem::path kZones = std::filesystem::path(QUORVANE_STORE_DATA) / "zones";

std::string recordLine(const ZoneRecord& record)
{
    clDNSRecord stored;
    stored.RecType = record.type;
    stored.Data = record.data;
    stored.Pref = record.pref;
    const std::string data =
        record.type == rtype::DFCN ? "DFCN " + record.data : recordDataText(stored).value_or("?");
    return record.owner + " " + std::to_string(record.ttl) + " " + data;
}

std::string parsed(std::istream& in)
{
    ZoneComments comments;
    std::string records;
    readZoneText(
        in, "example.com.", [&](ZoneRecord&& record) { records += recordLine(record) + "\n"; }, &comments);
    std::string out;
    if (!comments.primaryIP.empty()) out += "; primaryip " + comments.primaryIP + "\n";
    for (const std::string& address : comments.notify)
        out += "; notify " + address + "\n";
    if (comments.notSecure) out += "; notsecure\n";
    return out + records;
}

} // namespace

TEST(ZoneParser, GoldenFiles)
{
    size_t checked = 0;
    for (const auto& entry : std::filesystem::directory_iterator(kZones)) {
        if (entry.path().extension() != ".zone") continue;
        std::ifstream in(entry.path(), std::ios::binary);
        std::filesystem::path expected = entry.path();
        expected.replace_extension(".expected");
        test::expectGoldenFile(expected, parsed(in));
        ++checked;
    }
    EXPECT_GE(checked, 6u);
}

TEST(ZoneParser, HugeLinesAndEndlessParenthesesStayBounded)
{
    std::string text = "; NOTIFY 10.0.0.1\na A 10.0.0.1\n"; // without a zone, special comments are plain
    text += "b TXT " + std::string(3 << 20, 'x') + "\n"; // 3 MB on one line: dropped whole
    text += "c A 10.0.0.3\n";
    text += "d SOA ns admin (\n"; // never closed: swallows the rest
    for (int i = 0; i < 200000; ++i)
        text += "   1 2 3 4 5 6 7 8 9 10 11 12\n";
    std::istringstream in(text);
    std::vector<std::string> owners;
    readZoneText(
        in, "z.", [&](ZoneRecord&& record) { owners.push_back(record.owner); }, nullptr);
    EXPECT_EQ(owners, (std::vector<std::string>{"a.z.", "c.z."}));
}

} // namespace quorvane
