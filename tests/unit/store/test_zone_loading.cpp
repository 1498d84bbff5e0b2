#include "store/record_store.h"

#include "unit/store/store_test_support.h"

#include <gtest/gtest.h>

namespace quorvane::test {

namespace {

const std::filesystem::path kLoading = std::filesystem::path(QUORVANE_STORE_DATA) / "loading";
const std::filesystem::path kExample =
    std::filesystem::path(QUORVANE_STORE_DATA) / "../../../examples/home-office";

} // namespace

// A zone's settings come from its special comment lines; a zone without them has the defaults.
TEST(ZoneLoading, LoadZoneTakesSettingsAndReplacesItsRecordsOnReload)
{
    StoreFixture f;
    std::filesystem::copy_file(kLoading / "sub.zone.dns", f.folder.path() / "data/sub.zone.dns");
    f.store.LoadZone("sub.zone.");
    f.store.LoadZone("sub.zone."); // again: one set of records
    f.folder.write("data/_root.dns", "@ NS a.root.\na.root A 10.0.0.9\n"); // under the root, "a.root" is "a.root."
    f.store.LoadZone(".");
    expectGolden("loading/load_zone.txt", f.dump());
    EXPECT_EQ(f.store.authoritySearch("ns.sub.zone."), f.store.recordByKey(f.store.Zones().front().Records[0]));
}

TEST(ZoneLoading, LoadBootDropsFileZonesAndLoadsEveryDnsFile)
{
    StoreFixture f;
    f.folder.write("data/a.lan.dns", "www A 10.0.0.1\n");
    f.folder.write("data/B.Lan.dns", "www A 10.0.0.2\n");
    f.folder.write("data/_root.dns", "@ SOA ns admin 1 2 3 4 5\n");
    f.folder.write("data/.dns", "x A 10.0.0.9\n");        // names no zone
    f.folder.write("data/c.lan.new", "www A 10.0.0.3\n"); // waits for CheckNewZone
    f.store.LoadBoot();
    f.folder.write("data/sub.lan.dns", "www A 10.0.0.4\n");
    std::filesystem::remove(f.folder.path() / "data/a.lan.dns");
    f.store.LoadBoot(); // a.lan. is gone with its file
    expectGolden("loading/load_boot.txt", f.dump());
    // "_root.dns" is the root zone, and names below it are in it.
    EXPECT_EQ(f.store.authoritySearch("anything.at.all.")->Name, ".");
}

TEST(ZoneLoading, CheckNewZoneReplacesTheFileAndNotifiesPrimaries)
{
    StoreFixture f;
    std::vector<std::string> notified;
    f.store.setZoneNotify([&](const clZone& zone) { notified.push_back(zone.Name); });
    f.folder.write("data/sub.zone.dns", "old A 10.0.0.1\n");
    f.store.LoadBoot();
    f.folder.write("data/sub.zone.new", "; Notify 10.0.0.7\nnew A 10.0.0.2\n");
    f.folder.write("data/second.new", "; PrimaryIP 10.0.0.1\nx A 10.0.0.3\n");
    f.folder.write("data/bad name.new", "x A 10.0.0.4\n");
    f.lines.clear();
    f.store.CheckNewZone();
    expectGolden("loading/check_new_zone.txt", f.dump());
    EXPECT_EQ(notified, std::vector<std::string>{"sub.zone."}) << "a secondary is not announced";
    EXPECT_FALSE(std::filesystem::exists(f.folder.path() / "data/sub.zone.new"));
    EXPECT_EQ(f.folder.read("data/sub.zone.dns"), "; Notify 10.0.0.7\nnew A 10.0.0.2\n");
    EXPECT_TRUE(std::filesystem::exists(f.folder.path() / "data/bad name.new"));
}

TEST(ZoneLoading, HostsFileGivesAPtrAndCname)
{
    StoreFixture f;
    std::filesystem::copy_file(kLoading / "hosts", f.folder.path() / "hosts");
    f.store.configure({"hosts", 7200, 0});
    f.store.LoadHosts();
    f.store.LoadHosts(); // twice: one set
    expectGolden("loading/hosts.txt", f.dump());

    // A missing file is logged; no path means no hosts zone at all.
    f.store.configure({(f.folder.path() / "nowhere").string(), 3600, 0});
    f.store.LoadHosts();
    EXPECT_EQ(f.lines.back(), "-> File not found!");
    EXPECT_EQ(f.store.recordCount(), 0u);
    f.store.configure({});
    f.store.LoadHosts();
    EXPECT_EQ(f.store.findZone(kHostsZone), nullptr);
    EXPECT_TRUE(f.errors.empty());
}

TEST(ZoneLoading, LoadPermLoadsTheExampleFolderAndReloadsWithoutDuplicates)
{
    StoreFixture f;
    std::filesystem::copy(kExample, f.folder.path(),
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::overwrite_existing);
    f.store.configure({"hosts", 3600, 0});
    f.store.LoadPerm();
    f.store.LoadPerm();
    expectGolden("loading/load_perm.txt", f.dump());
}

} // namespace quorvane::test
