#include "store/record_store.h"

#include "unit/store/store_test_support.h"

#include <gtest/gtest.h>

namespace quorvane::test {

namespace {

std::vector<std::string> owners(const RecordStore& store)
{
    std::vector<std::string> out;
    for (const auto& [owner, record] : store.CacheRecords())
        out.push_back(owner);
    return out;
}

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

TEST(RecordStore, KeysFindRecordsAndZoneRemovalTakesOnlyItsOwn)
{
    StoreFixture f;
    const RecordKey first = f.store.CacheAddF("a.zone.", rtype::A, 60, address(1), 0, true);
    EXPECT_EQ(first, 1u);
    f.store.CacheAdd("a.zone.", rtype::MX, 60, "mx.zone.", 5); // learned: no key
    const RecordKey second = f.store.CacheAddF("a.zone.", rtype::A, 60, address(2), 0, true);
    EXPECT_EQ(second, first + 1);
    ASSERT_NE(f.store.recordByKey(second), nullptr);
    EXPECT_EQ(f.store.recordByKey(second)->Data, address(2));

    // A zone of the two keyed records; removing it leaves the learned one.
    f.store.LoadZone("missing."); // no file: reported, no zone
    EXPECT_EQ(f.store.findZone("missing."), nullptr);
    ASSERT_EQ(f.errors.size(), 1u);
    EXPECT_TRUE(f.errors[0].starts_with("modDNS LoadZone: File not found")) << f.errors[0];

    f.folder.write("data/zone.dns", "a A 10.0.0.3\nb A 10.0.0.4\n");
    f.store.LoadZone("zone.");
    ASSERT_NE(f.store.findZone("zone."), nullptr);
    EXPECT_EQ(f.store.recordCount(), 5u);
    f.store.removeZone("zone.");
    EXPECT_EQ(f.store.findZone("zone."), nullptr);
    EXPECT_EQ(f.texts("a.zone."), (std::vector<std::string>{"A 10.0.0.1", "MX 5 mx.zone.", "A 10.0.0.2"}));
    EXPECT_TRUE(f.store.records("b.zone.").empty());
}

TEST(RecordStore, AuthoritySearchStopsAtTheNearestPermanentSoaOrNs)
{
    StoreFixture f;
    f.store.CacheAddF(".", rtype::NS, 3600, "a.root-servers.net.", 0, false);
    f.store.CacheAddF("zone.", rtype::NS, 3600, "ns.zone.", 0, true); // NS before SOA in the run
    f.store.CacheAddF("zone.", rtype::SOA, 3600, "ns.zone.", 0, true);
    f.store.CacheAddF("sub.zone.", rtype::NS, 3600, "ns.other.", 0, true);
    f.store.CacheAdd("learned.", rtype::SOA, 3600, "ns.learned.", 0);
    const std::pair<const char*, const char*> cases[] = {
        {"zone.", "SOA"},      {"www.zone.", "SOA"}, {"a.b.c.zone.", "SOA"}, {"sub.zone.", "NS"},
        {"x.sub.zone.", "NS"}, {"learned.", "NS"},   {"other.", "NS"},       {".", "NS"},
        {"nodot", "none"},     {"", "none"},
    };
    for (const auto& [name, found] : cases) {
        const clDNSRecord* record = f.store.authoritySearch(name);
        const std::string got = !record ? "none" : record->RecType == rtype::SOA ? "SOA" : "NS";
        EXPECT_EQ(got, found) << name;
    }
    f.store.removeZone("nonexistent.");
    f.store.clearCache();
    EXPECT_EQ(f.store.recordCount(), 4u) << "clearing keeps permanent records";
}

TEST(RecordStore, CacheAddTTLRules)
{
    StoreFixture f;
    f.store.configure({"", 3600, 60});
    const std::pair<int32_t, int32_t> cases[] = {{5, 60}, {0, 0}, {60, 60}, {61, 61}, {10000000, 604800},
                                                 {-3, 60}};
    for (const auto& [given, kept] : cases) {
        const std::string name = "t" + std::to_string(given) + ".";
        f.store.CacheAdd(name, rtype::A, given, address(1), 0);
        EXPECT_EQ(f.store.records(name).begin()->second.TTL(f.clock.now()), kept) << given;
    }
    // Files: raised unless the TTL is kept, never capped.
    EXPECT_EQ(f.store.recordByKey(f.store.CacheAddF("f1.", rtype::A, 5, address(1), 0, false))->TTL(0), 60);
    EXPECT_EQ(f.store.recordByKey(f.store.CacheAddF("f2.", rtype::A, 5, address(1), 0, true))->TTL(0), 5);
    EXPECT_EQ(f.store.recordByKey(f.store.CacheAddF("f3.", rtype::A, 9999999, address(1), 0, false))->TTL(0),
              9999999);
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
    struct Step {
        const char* name;
        int32_t ttl;
        std::vector<std::string> kept;
    };
    const Step steps[] = {
        {"a.example.", 300, {"a", "z"}},
        {"b.example.", 100, {"a", "b", "z"}},
        {"c.example.", 200, {"a", "b", "c", "z"}},
        {"d.example.", 400, {"a", "c", "d", "z"}}, // b expires first
        {"a.example.", 50, {"a", "c", "d", "z"}},  // a refresh takes no room, but moves a to the front
        {"e.example.", 500, {"c", "d", "e", "z"}},
    };
    auto kept = [&] {
        std::vector<std::string> out;
        for (const auto& [owner, record] : f.store.CacheRecords()) out.push_back(owner.substr(0, 1));
        return out;
    };
    for (const Step& step : steps) {
        f.store.CacheAdd(step.name, rtype::A, step.ttl, address(1), 0);
        EXPECT_EQ(kept(), step.kept) << step.name << ' ' << step.ttl;
        EXPECT_EQ(f.store.cacheBytes(), (step.kept.size() - 1) * unit);
    }
    f.store.configure({"", 3600, 0, false, false, unit}); // a lower cap takes effect at once
    EXPECT_EQ(kept(), (std::vector<std::string>{"e", "z"}));
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

TEST(RecordStore, SweepRemovesRecordsOnlyWellPastExpiry)
{
    StoreFixture f;
    f.store.sweepCache(); // empty: nothing to do, no error
    f.store.CacheAdd("a.", rtype::A, 10, address(1), 0);
    f.store.CacheAdd("b.", rtype::A, 10, address(2), 0);
    f.store.CacheAddF("c.", rtype::A, 0, address(3), 0, true); // permanent, TTL 0
    f.store.CacheAdd("d.", rtype::A, 100, address(4), 0);
    f.advanceSeconds(13); // a. and b. expired 3 s ago: still there after a full round
    for (int tick = 0; tick < 4; ++tick)
        f.store.sweepCache();
    EXPECT_EQ(f.store.recordCount(), 4u);
    f.advanceSeconds(3);
    // One record per tick while fewer than 300 are cached.
    f.store.sweepCache();
    EXPECT_EQ(f.store.recordCount(), 3u);
    f.store.sweepCache(); // b. has moved into the place a. had
    EXPECT_EQ(owners(f.store), (std::vector<std::string>{"c.", "d."}));
    for (int tick = 0; tick < 5; ++tick)
        f.store.sweepCache();
    EXPECT_EQ(f.store.recordCount(), 2u);

    f.store.CacheAdd("z.", rtype::A, 1, address(1), 0);
    f.store.clearCache();
    EXPECT_EQ(owners(f.store), (std::vector<std::string>{"c."}));
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
