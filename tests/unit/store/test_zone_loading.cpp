#include "store/record_store.h"

#include "unit/store/store_test_support.h"

#include <gtest/gtest.h>

namespace quorvane::test {

namespace {

const std::filesystem::path kExample =
    std::filesystem::path(QUORVANE_STORE_DATA) / "../../../examples/home-office";

const char* kZoneText = "; PrimaryIP 10.9.9.9\n"
                        "; Notify 10.0.0.2 10.0.0.3\n"
                        "; NotSecure\n"
                        "@ IN SOA ns admin ( 42 7200 900 1209600 300 )\n"
                        "  IN NS ns\n"
                        "ns IN A 10.0.0.1\n";

} // namespace

TEST(ZoneLoading, LoadZoneTakesSettingsAndReplacesItsRecordsOnReload)
{
    StoreFixture f;
    f.folder.write("data/sub.zone.dns", kZoneText);
    f.store.LoadZone("sub.zone.");
    f.store.LoadZone("sub.zone."); // again: one set of records
    EXPECT_EQ(f.lines, (std::vector<std::string>{"Loading Zone: sub.zone.", "Loading Zone: sub.zone."}));
    ASSERT_EQ(f.store.Zones().size(), 1u);
    const clZone& zone = f.store.Zones().front();
    EXPECT_EQ(zone.Name, "sub.zone.");
    EXPECT_EQ(zone.Records.size(), 3u);
    EXPECT_EQ(f.store.recordCount(), 3u);
    EXPECT_EQ(zone.Serial, 42);
    EXPECT_EQ(zone.RefreshIV, 7200);
    EXPECT_EQ(zone.RetryIV, 900);
    EXPECT_EQ(zone.ExpireIV, 1209600);
    EXPECT_EQ(zone.Slaves, (std::vector<std::string>{"10.0.0.2", "10.0.0.3"}));
    EXPECT_FALSE(zone.Secure);
    EXPECT_EQ(zone.PrimaryIP, "10.9.9.9");
    EXPECT_EQ(zone.ZoneType, zonetype::Secondary);
    EXPECT_EQ(zone.NextRefresh, f.clock.now());
    EXPECT_EQ(f.store.recordByKey(zone.Records[1])->Name, "sub.zone.");
    EXPECT_EQ(f.store.authoritySearch("ns.sub.zone."), f.store.recordByKey(zone.Records[0]));
    EXPECT_TRUE(f.store.recordByKey(zone.Records[0])->Permanent);

    // A zone without the special lines has the defaults of a new zone.
    f.folder.write("data/_root.dns", "@ NS a.root.\n");
    f.store.LoadZone(".");
    const clZone* root = f.store.findZone(".");
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(f.lines.back(), "Loading Zone: <root>");
    EXPECT_TRUE(root->Secure);
    EXPECT_EQ(root->RefreshIV, 300);
    EXPECT_EQ(root->ZoneType, zonetype::File);
    EXPECT_EQ(f.texts("."), std::vector<std::string>{"NS a.root."});
    EXPECT_TRUE(f.errors.empty());
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
    EXPECT_EQ(f.lines, (std::vector<std::string>{"Loading DNS Records...", "Loading Zone: b.lan.",
                                                 "Loading Zone: <root>", "Loading Zone: a.lan.",
                                                 "Loading DNS Records...", "Loading Zone: b.lan.",
                                                 "Loading Zone: <root>", "Loading Zone: sub.lan."}));
    EXPECT_EQ(f.store.findZone("a.lan."), nullptr);
    EXPECT_EQ(f.texts("www.b.lan."), std::vector<std::string>{"A 10.0.0.2"});
    EXPECT_EQ(f.store.recordCount(), 3u);
    // "_root.dns" is the root zone, and names below it are in it.
    ASSERT_NE(f.store.authoritySearch("anything.at.all."), nullptr);
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
    EXPECT_EQ(f.lines,
              (std::vector<std::string>{"New zone file discovered: second.", "Loading Zone: second.",
                                        "New zone file discovered: sub.zone.", "Loading Zone: sub.zone."}));
    EXPECT_EQ(notified, std::vector<std::string>{"sub.zone."}) << "a secondary is not announced";
    EXPECT_TRUE(f.store.records("old.sub.zone.").empty());
    EXPECT_EQ(f.texts("new.sub.zone."), std::vector<std::string>{"A 10.0.0.2"});
    EXPECT_FALSE(std::filesystem::exists(f.folder.path() / "data/sub.zone.new"));
    EXPECT_EQ(f.folder.read("data/sub.zone.dns"), "; Notify 10.0.0.7\nnew A 10.0.0.2\n");
    EXPECT_TRUE(std::filesystem::exists(f.folder.path() / "data/bad name.new"));
    EXPECT_TRUE(f.errors.empty());
}

TEST(ZoneLoading, HostsFileGivesAPtrAndCname)
{
    StoreFixture f;
    f.folder.write("hosts", "10.0.0.5 alpha beta # comment\n"
                            "# a comment line\n"
                            "\t10.0.0.6\tGamma.Lan\t\r\n"
                            "::1 localhost ip6-localhost\n"
                            "10.0.0.300 broken\n"
                            "10.0.0.7\n"
                            "10.0.0.8 !!! delta\n");
    f.store.configure({"hosts", 7200, 0});
    f.store.LoadHosts();
    f.store.LoadHosts(); // twice: one set
    EXPECT_EQ(f.texts("alpha."), std::vector<std::string>{"A 10.0.0.5"});
    EXPECT_EQ(f.texts("5.0.0.10.in-addr.arpa."), std::vector<std::string>{"PTR alpha."});
    EXPECT_EQ(f.texts("beta."), std::vector<std::string>{"CNAME alpha."});
    EXPECT_EQ(f.texts("gamma.lan."), std::vector<std::string>{"A 10.0.0.6"});
    EXPECT_EQ(f.texts("delta."), std::vector<std::string>{"A 10.0.0.8"});
    EXPECT_TRUE(f.store.records("localhost.").empty());
    EXPECT_EQ(f.store.recordCount(), 7u);
    const clDNSRecord& a = f.store.records("alpha.").begin()->second;
    EXPECT_EQ(a.Pref, -1);
    EXPECT_EQ(a.TTL(f.clock.now()), 7200);
    EXPECT_EQ(f.store.records("beta.").begin()->second.Pref, 0);
    EXPECT_EQ(f.store.findZone(kHostsZone)->Records.size(), 7u);
    EXPECT_EQ(f.lines.back(), "Loading hosts file 'hosts'...");

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
    const size_t count = f.store.recordCount();
    f.store.LoadPerm();
    EXPECT_EQ(f.store.recordCount(), count);
    EXPECT_EQ(f.lines[0], "Loading DNS Records...");
    EXPECT_EQ(f.lines[1], "Loading Zone: home.lan.");
    EXPECT_EQ(f.lines[2], "Loading root DNS server records...");
    EXPECT_EQ(f.lines[3], "-> 26 records loaded from named.root");
    EXPECT_EQ(f.lines[4], "Loading hosts file 'hosts'...");
    EXPECT_EQ(f.texts("files.home.lan."), std::vector<std::string>{"CNAME nas.home.lan."});
    EXPECT_EQ(f.texts("laptop-wifi."), std::vector<std::string>{"CNAME laptop."});
    EXPECT_EQ(f.store.records(".").size(), 13u);
    EXPECT_EQ(f.store.findZone("home.lan.")->Serial, 2026112201);
    EXPECT_TRUE(f.errors.empty());
}

} // namespace quorvane::test
