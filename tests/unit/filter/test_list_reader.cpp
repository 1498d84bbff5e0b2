// The list reader and the name set behind it: every line form, and the names each blocks or not.
#include "filter/filter_set.h"
#include "filter/list_reader.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

namespace quorvane::test {

TEST(ListReader, EachLineFormBlocksItsNameAndParentsOnly)
{
    struct Row {
        std::string line;
        size_t names, skipped;
        std::vector<std::string> blocked, open; // questions, as they arrive
    };
    const std::vector<Row> rows = {
        {"0.0.0.0 Ads.Example.COM", 1, 0, {"ads.example.com.", "x.y.ADS.example.com."}, {"example.com.", "bads.example.com."}},
        {"127.0.0.1\tone.example two.example # comment", 2, 0, {"one.example.", "two.example."}, {"comment."}},
        {":: six.example\r", 1, 0, {"six.example."}, {}},
        {"0.0.0.0 localhost", 0, 0, {}, {"localhost."}},
        {"0.0.0.0", 0, 1, {}, {}},
        {"192.168.1.1 router.example", 0, 1, {}, {"router.example."}},
        {"plain.example.", 1, 0, {"plain.example", "a.plain.example."}, {}},
        {"*.wild.example", 1, 0, {"wild.example.", "w.wild.example."}, {}},
        {"||adblock.example^", 1, 0, {"adblock.example.", "t.adblock.example."}, {}},
        {"||mod.example^$third-party", 0, 1, {}, {"mod.example."}},
        {"||path.example/ads^", 0, 1, {}, {"path.example."}},
        {"example.org##.banner", 0, 1, {}, {"example.org."}},
        {"# 0.0.0.0 commented.example", 0, 0, {}, {"commented.example."}},
        {"! adblock comment", 0, 0, {}, {}},
        {"bad_label!.example", 0, 1, {}, {}},
        {"10.0.0.1", 0, 1, {}, {}},
        {std::string(64, 'a') + ".example", 0, 1, {}, {}},
        {"0.0.0.0 " + std::string(1100, 'b'), 0, 1, {}, {}},
    };
    for (const Row& row : rows) {
        FilterSet set;
        ListReader reader(set.blocked, set.allowed);
        reader.feed(row.line);
        reader.finish();
        EXPECT_EQ(reader.names(), row.names) << row.line;
        EXPECT_EQ(reader.skipped(), row.skipped) << row.line;
        std::string scratch;
        for (const auto& name : row.blocked) EXPECT_NE(set.blockedBy(name, scratch), "") << row.line << " / " << name;
        for (const auto& name : row.open) EXPECT_EQ(set.blockedBy(name, scratch), "") << row.line << " / " << name;
    }
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
