#include "store/record_store.h"

#include "store/zone_text.h"
#include "unit/store/store_test_support.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace quorvane::test {

namespace {

Bytes address(int last)
{
    return Bytes{10, 0, 0, static_cast<char>(last)};
}

// Replays a script of steps on a fresh store: each "> " line a step, followed in the file by what it
// showed; "#" lines are notes. "learn|file NAME TYPE TTL [DATA [PREF]]" adds a learned or a permanent
// record (TYPE a mnemonic or a code, DATA an address for A, a name otherwise); "fill COUNT TYPE TTL DATA"
// learns COUNT such records for n0. n1. ...; "wait SECONDS", "sweep" (shows the number of records
// left), "clear", "texts NAME" and "dump".
std::string replay(const std::string& script)
{
    StoreFixture f;
    std::istringstream in(script);
    std::string out;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with('#')) out += line + '\n'; // notes stay
        if (!line.starts_with("> ")) continue;
        out += line + '\n';
        std::istringstream words(line.substr(2));
        std::string verb, name, type, data;
        int ttl = 0, pref = 0;
        words >> verb >> name >> type >> ttl >> data >> pref;
        const std::map<std::string, int> codes{{"A", rtype::A}, {"CNAME", rtype::CNAME}, {"MX", rtype::MX}};
        const auto code = static_cast<int16_t>(codes.contains(type) ? codes.at(type) : std::atoi(type.c_str()));
        const Bytes bytes = code == rtype::A ? parseAddress(data).value() : data;
        if (verb == "learn") f.store.CacheAdd(name, code, ttl, bytes, pref);
        if (verb == "file") f.store.CacheAddF(name, code, ttl, bytes, pref, true);
        if (verb == "fill")
            for (int i = 0; i < std::stoi(name); ++i)
                f.store.CacheAdd("n" + std::to_string(i) + ".", code, ttl, bytes, 0);
        if (verb == "wait") f.advanceSeconds(std::stod(name));
        if (verb == "sweep") f.store.sweepCache();
        if (verb == "sweep") out += std::to_string(f.store.recordCount()) + '\n';
        if (verb == "clear") f.store.clearCache();
        if (verb == "texts")
            for (const std::string& text : f.texts(name)) out += text + '\n';
        if (verb == "dump") out += f.dump();
    }
    return out;
}

} // namespace

TEST(RecordStore, OrderAdditionsAndSweepsFollowTheirScripts)
{
    for (const char* script : {"ordered", "cache_add", "sweep", "sweep_many"}) {
        const std::string file = QUORVANE_STORE_DATA "/record_store/" + std::string(script) + ".txt";
        const std::string steps = fileText(file);
        ASSERT_NE(steps, "") << file;
        expectGoldenFile(file, replay(steps));
    }
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

} // namespace quorvane::test
