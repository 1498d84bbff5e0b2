#include "store/cache_file.h"

#include "store/record_data.h"
#include "unit/store/store_test_support.h"

#include <gtest/gtest.h>

namespace quorvane::test {

TEST(CacheFile, WritesRepeatedOwnersWithABlankAndReadsBack)
{
    StoreFixture f;
    f.store.configure({"", 3600, 0});
    f.store.CacheAdd("host.example.", rtype::A, 300, Bytes{1, 2, 3, 4}, 0);
    f.store.CacheAdd("host.example.", rtype::A, 300, Bytes{1, 2, 3, 5}, 0);
    f.store.CacheAdd("host.example.", rtype::kMarkerBase + rtype::MX, 300, "", 0); // not written
    f.store.CacheAdd("host.example.", rtype::MX, 300, "mail.example.", 10);
    f.store.CacheAdd("bad name.", rtype::A, 300, Bytes{9, 9, 9, 9}, 0); // would not read back
    f.store.CacheAdd("host2.example.", rtype::kNameMarker, 300, "", 0); // not written ...
    f.store.CacheAdd("host2.example.", rtype::TXT, 300, "\x05" "a;b\"c", 0); // ... so this line names
    f.store.CacheAdd("example.", rtype::SOA, 300,
                     makeSoaData({"ns.example.", "admin.example.", 7, 3600, 600, 86400, 60}), 0);
    f.store.CacheAdd("example.", rtype::NS, 300, "ns.example.", 0);
    f.store.CacheAdd("old.example.", rtype::A, 10, Bytes{1, 1, 1, 1}, 0);
    f.store.CacheAdd("zero.example.", rtype::PTR, 0, "x.example.", 0);
    f.store.CacheAddF("zone.example.", rtype::A, 3600, Bytes{10, 0, 0, 1}, 0, true);
    f.store.CacheAdd("other.example.", 28, 300, Bytes(16, '\0'), 0);
    f.advanceSeconds(11);

    f.store.saveCache(false);
    const std::string written = f.folder.read("named.cache");
    expectGolden("cache/named.cache", written);
    // The snapshot adds the permanent records; zero.example. expired already and is left out.
    f.store.saveCache(true);
    EXPECT_EQ(f.folder.read("snapshot.dat"), written + "zone.example. 3600 A 10.0.0.1\n");
    // With IPv6 records switched on, the learned AAAA record is written too.
    f.store.configure({"", 3600, 0, true});
    f.store.saveCache(false);
    EXPECT_EQ(f.folder.read("named.cache"), written + "other.example. 289 AAAA ::\n");
    f.store.configure({});
    f.store.saveCache(false);

    // Read back at the next start, the same records come back as learned ones.
    StoreFixture next;
    std::filesystem::copy_file(f.folder.path() / "named.cache", next.folder.path() / "named.cache");
    next.store.LoadCache();
    EXPECT_EQ(next.lines, std::vector<std::string>{"-> 6 records loaded from named.cache"});
    next.store.saveCache(false);
    EXPECT_EQ(next.folder.read("named.cache"), written);
    EXPECT_EQ(next.texts("host2.example."), std::vector<std::string>{"TXT \"a\\059b\\\"c\""});

    // No file: logged, not an error.
    StoreFixture empty;
    empty.store.LoadCache();
    EXPECT_EQ(empty.lines, std::vector<std::string>{"-> File not found!"});
    EXPECT_TRUE(empty.errors.empty() && next.errors.empty() && f.errors.empty());
}

TEST(CacheFile, AFileThatCannotBeWrittenIsReported)
{
    StoreFixture f;
    std::filesystem::create_directory(f.folder.path() / "named.cache.tmp");
    f.store.saveCache(false);
    ASSERT_EQ(f.errors.size(), 1u);
    EXPECT_TRUE(f.errors[0].starts_with("modDNS saveCache: Cannot write")) << f.errors[0];
}

} // namespace quorvane::test
