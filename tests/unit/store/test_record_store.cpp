#include "store/record_store.h"

#include "unit/store/store_test_support.h"

#include <gtest/gtest.h>

namespace quorvane::test {

namespace {

Bytes address(int last)
{
    return Bytes{10, 0, 0, static_cast<char>(last)};
}

} // namespace

// Records are ordered by name, case counting; a name's records stay in arrival order.
TEST(RecordStore, KeepsRecordsOrderedByNameAndRunsInArrivalOrder)
{
    StoreFixture f;
    for (const char* name : {"c.", "a.", "b.", "0.", "d."})
        f.store.CacheAddF(name, rtype::A, 60, address(name[0]), 0, true);
    f.store.CacheAddF("b.", rtype::MX, 60, "mx.b.", 5, true);
    f.store.CacheAddF("B.", rtype::A, 60, address(9), 0, true);
    expectGolden("record_store/ordered.txt", f.dump());
    EXPECT_EQ(f.texts("b."), (std::vector<std::string>{"A 10.0.0.98", "MX 5 mx.b."}));
    EXPECT_TRUE(f.store.records("bb.").empty());
    EXPECT_TRUE(f.store.records("e.").empty());
}

// Keys count up over the records read from files; learned records take none. Removing a zone
// takes its records only; a zone without a file is reported and not made.
TEST(RecordStore, KeysFindRecordsAndZoneRemovalTakesOnlyItsOwn)
{
    StoreFixture f;
    EXPECT_EQ(f.store.CacheAddF("a.zone.", rtype::A, 60, address(1), 0, true), 1u);
    f.store.CacheAdd("a.zone.", rtype::MX, 60, "mx.zone.", 5);
    EXPECT_EQ(f.store.recordByKey(f.store.CacheAddF("a.zone.", rtype::A, 60, address(2), 0, true))->Data, address(2));
    f.store.LoadZone("missing.");
    f.folder.write("data/zone.dns", "a A 10.0.0.3\nb A 10.0.0.4\n");
    f.store.LoadZone("zone.");
    EXPECT_EQ(f.store.recordCount(), 5u);
    f.store.removeZone("zone.");
    f.errors[0].resize(std::min<size_t>(f.errors[0].size(), 32)); // the rest names the temporary folder
    expectGolden("record_store/zone_removal.txt", f.dump());
}

// The authority search stops at the nearest permanent SOA or NS. A learned TTL is raised to the
// minimum and capped; one from a file is raised unless it is kept, never capped.
TEST(RecordStore, AuthoritySearchAndTTLRulesFromTheirTable)
{
    StoreFixture f;
    f.store.configure({"", 3600, 60});
    f.store.CacheAddF(".", rtype::NS, 3600, "a.root-servers.net.", 0, false);
    f.store.CacheAddF("zone.", rtype::NS, 3600, "ns.zone.", 0, true); // NS before SOA in the run
    f.store.CacheAddF("zone.", rtype::SOA, 3600, "ns.zone.", 0, true);
    f.store.CacheAddF("sub.zone.", rtype::NS, 3600, "ns.other.", 0, true);
    f.store.CacheAdd("learned.", rtype::SOA, 3600, "ns.learned.", 0);
    const auto authority = [&](const Args& a) -> std::string {
        const clDNSRecord* record = f.store.authoritySearch(a[0]);
        return !record ? "none" : record->RecType == rtype::SOA ? "SOA" : "NS";
    };
    const auto learned = [&](const Args& a) {
        f.store.CacheAdd("t" + a[0] + ".", rtype::A, std::stoi(a[0]), address(1), 0);
        return std::to_string(f.store.records("t" + a[0] + ".").begin()->second.TTL(f.clock.now()));
    };
    const auto file = [&](const Args& a) {
        const auto key = f.store.CacheAddF("f" + a[0] + a[1] + ".", rtype::A, std::stoi(a[0]), address(1), 0,
                                           a[1] == "true");
        return std::to_string(f.store.recordByKey(key)->TTL(0));
    };
    runCallTable(QUORVANE_STORE_DATA "/record_store_calls.txt",
                 {{"authority", authority}, {"learned", learned}, {"file", file}}, 19);
    // A learned TTL counts down in whole seconds, rounded, and saturates far in the future; a
    // permanent one stays.
    f.advanceSeconds(59.4);
    const clDNSRecord& t61 = f.store.records("t61.").begin()->second;
    EXPECT_EQ(t61.TTL(f.clock.now()), 2);
    EXPECT_EQ(t61.TTL(f.clock.now() + 1e6), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(f.store.records("f5true.").begin()->second.TTL(f.clock.now() + 1e6), 5);
    f.store.removeZone("nonexistent.");
    f.store.clearCache();
    EXPECT_EQ(f.store.recordCount(), 7u) << "clearing keeps permanent records";
}

TEST(RecordStore, CacheOverItsCapDropsTheLearnedRecordsClosestToExpiry)
{
    StoreFixture f;
    clDNSRecord sample;
    sample.Name = "a.example.";
    sample.Data = address(1);
    const size_t unit = CacheBudget::costOf(sample.Name, sample); // every name below costs the same
    f.store.configure({"", 3600, 0, false, false, 3 * unit});
    f.store.CacheAddF("z.example.", rtype::A, 1, address(9), 0, true); // a zone's record: never counted
    auto kept = [&] {
        std::string out;
        for (const auto& [owner, record] : f.store.CacheRecords()) out += owner[0];
        return out;
    };
    // Each row: the name added with its TTL, then the first letters of the names kept.
    const auto add = [&](const Args& a) {
        f.store.CacheAdd(a[0], rtype::A, std::stoi(a[1]), address(1), 0);
        EXPECT_EQ(f.store.cacheBytes(), (kept().size() - 1) * unit);
        return kept();
    };
    runCallTable(QUORVANE_STORE_DATA "/cache_cap_calls.txt", {{"add", add}}, 6);
    f.store.configure({"", 3600, 0, false, false, unit}); // a lower cap takes effect at once
    EXPECT_EQ(kept(), "ez");
}

// A learned record with the same data is refreshed, another address is added beside it, a CNAME
// replaces the name's CNAME, and zone data is never joined or replaced. Negative markers for the
// name and for A go when an A arrives; one for MX stays, and a marker never removes another.
TEST(RecordStore, CacheAddRefreshesReplacesAndRespectsPermanentData)
{
    StoreFixture f;
    f.store.CacheAdd("h.", rtype::A, 100, address(1), 0);
    f.advanceSeconds(50);
    f.store.CacheAdd("h.", rtype::A, 100, address(1), 0);
    f.store.CacheAdd("h.", rtype::A, 100, address(2), 0);
    f.store.CacheAdd("alias.", rtype::CNAME, 100, "one.", 0);
    f.store.CacheAdd("alias.", rtype::CNAME, 100, "two.", 0);
    f.store.CacheAddF("zone.", rtype::A, 3600, address(5), 0, true);
    f.store.CacheAdd("zone.", rtype::A, 100, address(6), 0);
    f.store.CacheAdd("m.", rtype::kNameMarker, 100, "", 0);
    f.store.CacheAdd("m.", rtype::kMarkerBase + rtype::MX, 100, "", 0);
    f.store.CacheAdd("m.", rtype::kMarkerBase + rtype::A, 100, "", 0);
    EXPECT_EQ(f.store.records("m.").size(), 3u);
    f.store.CacheAdd("m.", rtype::A, 100, address(8), 0);
    expectGolden("record_store/cache_add.txt", f.dump());
}

// Records are swept five seconds after they expire, one per tick while fewer than 300 are cached,
// from a position that moves on through the cache and survives its clearing.
TEST(RecordStore, SweepRemovesRecordsOnlyWellPastExpiry)
{
    StoreFixture f;
    f.store.sweepCache(); // empty: nothing to do, no error
    f.store.CacheAdd("a.", rtype::A, 10, address(1), 0);
    f.store.CacheAdd("b.", rtype::A, 10, address(2), 0);
    f.store.CacheAddF("c.", rtype::A, 0, address(3), 0, true);
    f.store.CacheAdd("d.", rtype::A, 100, address(4), 0);
    std::string counts;
    for (int tick = 0; tick < 12; ++tick) {
        f.advanceSeconds(tick == 0 ? 13 : tick == 4 ? 3 : 0); // expired 3 s ago, then 6 s ago
        f.store.sweepCache();
        counts += std::to_string(f.store.recordCount());
    }
    EXPECT_EQ(counts, "444432222222");
    EXPECT_EQ(f.dump(), "c. 0 perm A 10.0.0.3\nd. 84 A 10.0.0.4\n");
    f.store.CacheAdd("z.", rtype::A, 1, address(1), 0);
    f.store.clearCache();
    EXPECT_EQ(f.dump(), "c. 0 perm A 10.0.0.3\n"); // the permanent record stays
    for (int tick = 0; tick < 3; ++tick)
        f.store.sweepCache(); // the position survived the clearing
}

TEST(RecordStore, SweepTakesOneRecordMorePerThreeHundred)
{
    StoreFixture f;
    for (int i = 0; i < 900; ++i)
        f.store.CacheAdd("n" + std::to_string(i) + ".", rtype::A, 1, address(1), 0);
    f.advanceSeconds(10);
    f.store.sweepCache();
    EXPECT_EQ(f.store.recordCount(), 900u - 4u);
    f.store.sweepCache();
    EXPECT_EQ(f.store.recordCount(), 896u - 3u); // 896 / 300 + 1
}

} // namespace quorvane::test
