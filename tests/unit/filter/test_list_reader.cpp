// The list reader and the name set behind it: every line form, and the names each blocks or not.
#include "filter/filter_set.h"
#include "filter/list_reader.h"
#include "support/call_table.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quorvane::test {

namespace {

// One line read into a fresh set, then the questions asked of it.
std::string readLine(const Args& a)
{
    FilterSet set;
    ListReader reader(set.blocked, set.allowed);
    reader.feed(a[0]);
    reader.finish();
    std::string out = std::to_string(reader.names()) + " read, " + std::to_string(reader.skipped()) + " skipped";
    std::istringstream questions(a[1]);
    std::string scratch;
    const char* separator = ": ";
    for (std::string name; questions >> name; separator = " ") {
        const std::string_view by = set.blockedBy(name, scratch);
        out += separator + name + '=' + (by.empty() ? "-" : std::string(by));
    }
    return out;
}

} // namespace

TEST(ListReader, EachLineFormBlocksItsNameAndParentsOnly)
{
    runCallTable(QUORVANE_FILTER_DATA "/list_lines.txt", {{"Read", readLine}}, 18);
}

TEST(ListReader, ExceptionsAndAllowListWinAndLinesMaySpanPieces)
{
    TempFolder folder;
    folder.write("a.txt", "ads.example\n@@||ok.ads.example^\nmore.example\n");
    const auto set = buildFilter({{"a.txt", "missing.txt"}, {"Fine.More.Example"}, folder.path()});
    std::string scratch;
    EXPECT_EQ(set->blockedBy("x.ads.example.", scratch), "ads.example");
    EXPECT_EQ(set->blockedBy("y.ok.ads.example.", scratch), "");
    EXPECT_EQ(set->blockedBy("fine.more.example.", scratch), "");
    EXPECT_EQ(set->blockedBy("more.example.", scratch), "more.example");
    ASSERT_EQ(set->lists.size(), 2u);
    EXPECT_TRUE(set->lists[0].read && set->lists[0].names == 3);
    EXPECT_FALSE(set->lists[1].read);

    // Many names, fed in pieces that cut lines anywhere: every one found, no other.
    NameSet names, exceptions;
    ListReader reader(names, exceptions);
    std::string text;
    for (int i = 0; i < 50000; ++i) text += "0.0.0.0 host" + std::to_string(i) + ".example\n";
    for (size_t at = 0; at < text.size(); at += 997) reader.feed(std::string_view(text).substr(at, 997));
    reader.finish();
    EXPECT_EQ(names.size(), 50000u);
    EXPECT_TRUE(names.contains("host0.example") && names.contains("host49999.example"));
    EXPECT_FALSE(names.contains("host50000.example"));
}

} // namespace quorvane::test
