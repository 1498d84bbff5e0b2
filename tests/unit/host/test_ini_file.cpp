#include "host/ini_file.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

namespace quorvane::test {

TEST(IniFile, ReadingRules)
{
    const Settings s = parseIni("name: My.Server..Home.\n"
                                "STARTMINI:Yes please\n"
                                "  hosts :  C:\\Windows\\HOSTS  \r\n"
                                "HostsTTL: 120abc\n"
                                "permiv: 9\n"
                                "ReloadPort: 5353 \n"
                                "DNSBind: 010.001.1\n"
                                "DNSRecursion: 192.168.*.*\n"
                                "LogDetail: no\n"
                                "logblock\n" // no colon: all key, empty value, flag false
                                "CacheTTL: -5\n"
                                "CheckNew: 99999999999999\n"
                                "BombLevel: 70000\n"
                                "NS: 10.0.0.1\nNS: 10.0.0.1\nns: 010.0.0.2\nNS:\n"
                                "NoBlock: 192.168.1.5\nNoBlock: 192.168.1.5\n"
                                "Unknown: whatever\n"
                                "HostsTTL: 7200\n"); // a later line overrides an earlier one
    EXPECT_EQ(s.NAME, "my.server.home");
    EXPECT_TRUE(s.STARTMINI);
    EXPECT_EQ(s.HOSTS, "C:\\Windows\\HOSTS"); // a path keeps its letter case
    EXPECT_EQ(s.HOSTSTTL, 7200);
    EXPECT_EQ(s.DNSBIND, "10.1.1.0");
    EXPECT_EQ(s.DNSRECURSION, "192.168.*.*");
    EXPECT_FALSE(s.LOGDETAIL);
    EXPECT_FALSE(s.LOGBLOCK);
    EXPECT_EQ(s.CACHETTL, 0);
    EXPECT_EQ(s.CHECKNEW, 2147483647);
    EXPECT_EQ(s.BOMBLEVEL, 65535);
    EXPECT_EQ(s.NS, (std::vector<std::string>{"10.0.0.1", "10.0.0.2"}));
    EXPECT_EQ(s.NOBLOCK, std::vector<std::string>{"192.168.1.5"});

    // Flags: only a value beginning with Y counts, in any spelling of the key.
    for (const char* line : {"StartMini: y", "startmini:YES", "STARTMINI :  yes"}) EXPECT_TRUE(parseIni(line).STARTMINI);
    for (const char* line : {"StartMini: 1", "StartMini: true", "StartMini:", "StartMini: no"})
        EXPECT_FALSE(parseIni(line).STARTMINI) << line;

    // Missing keys keep their defaults.
    EXPECT_EQ(parseIni(""), Settings{});
    EXPECT_EQ(parseIni("Name: x").HOSTSTTL, 3600);
    EXPECT_TRUE(parseIni("Name: x").LOGDETAIL);
}

TEST(IniFile, DhcpLines)
{
    const Settings s = parseIni("DHCP: 192.168.1.1 Office.LAN 192.168.1.100 192.168.1.200 255.255.255.0 0.0.0.0 0\n"
                                "DHCP: 10.0.0.1 ..lab.. 10.0.0.10 10.0.0.20 255.0.0.0 10.0.0.254\n"
                                "DHCP: 192.168.1.1 again 1.1.1.1 1.1.1.2 255.0.0.0 0.0.0.0 60\n" // same interface
                                "DHCP:\n");
    ASSERT_EQ(s.DHCP.size(), 2u);
    const clDHCPif& first = s.DHCP[0];
    EXPECT_EQ(first.IPaddr, "192.168.1.1");
    EXPECT_EQ(first.Domain, ".office.lan");
    EXPECT_EQ(first.ScopeFrom, "192.168.1.100");
    EXPECT_EQ(first.ScopeTo, "192.168.1.200");
    EXPECT_EQ(first.Subnet, "255.255.255.0");
    EXPECT_EQ(first.Gateway, "");
    EXPECT_EQ(first.TTL, 259200); // lease period 0
    EXPECT_TRUE(first.Enable);
    EXPECT_EQ(s.DHCP[1].Domain, ".lab");
    EXPECT_EQ(s.DHCP[1].Gateway, "10.0.0.254");
    EXPECT_EQ(s.DHCP[1].TTL, 259200); // field missing
}

TEST(IniFile, WrittenFormAndRoundTrip)
{
    Settings s;
    s.NAME = "ns.home.lan";
    s.HOSTS = "/etc/hosts";
    s.DNSBIND = "192.168.1.1";
    s.STARTMINI = true;
    s.WRITELOG = true;
    s.LOGDETAIL = false;
    s.LOGBLOCK = false;
    s.CACHETTL = 60;
    s.CHECKNEW = 30;
    s.RECURSIONOUT = true;
    s.NS = {"10.0.0.1", "10.0.0.2", "10.0.0.3"};
    s.NSTLS = {{"10.0.0.3", "dns.example"}}; // written after the plain ones, so read back in this order
    s.BOMBLEVEL = 50;
    s.NOBLOCK = {"192.168.1.5"};
    s.DHCP = {clDHCPif{"192.168.1.1", ".home.lan", "192.168.1.100", "192.168.1.200", "255.255.255.0", "", 86400, true}};
    s.AAAARECORDS = s.EDNS = s.TCPQUERIES = s.QUERYHARDENING = s.MORERECORDTYPES = true;
    s.LOCALNAMES = s.DHCPFIXEDNAMES = true;
    s.DHCPOPTION = {{"192.168.1.1", 119, "\"Home.lan corp.test\""}, {"192.168.1.1", 42, "192.168.1.5"}};
    s.DHCPFIXED = {{"aa:bb:cc:dd:ee:01", "192.168.1.50", "nas"}, {"id:01aabb", "192.168.1.51", "printer"}};
    s.FORWARD = {{"corp.test", {"10.0.0.5", "10.0.0.6"}}, {"10.in-addr.arpa", {"10.0.0.5"}}};
    s.BLOCKLIST = {"lists/Ads.txt", "https://lists.example/hosts"};
    s.ALLOWLIST = {"good.example"};
    s.BLOCKANSWER = "NXDOMAIN";
    s.BLOCKLISTUPDATE = 6;
    s.NOFILTER = {"192.168.1.9"};
    s.USER = "DnsUser"; // keeps its letter case
    s.TLSCAFILE = "/etc/Test CA.pem";
    s.TLSCERTFILE = "/etc/dot.pem";
    s.TLSKEYFILE = "/etc/dot.key";

    const std::string text = formatIni(s, 40123);
    std::ifstream golden(QUORVANE_HOST_DATA "/all_settings.ini", std::ios::binary);
    EXPECT_EQ(text, std::string(std::istreambuf_iterator<char>(golden), {}));
    EXPECT_EQ(parseIni(text), s);
    EXPECT_EQ(formatIni(Settings{}, 0), "HostsTTL: 3600 \nDNSRecursion: <all>\nReloadPort: 0 \nBombLevel: 0 \n");
    EXPECT_EQ(parseIni(formatIni(Settings{}, 0)), Settings{});
    // The additions' lines: read cleaned; unusable ones and a repeated domain, client or address dropped.
    const Settings odd = parseIni("Forward: Corp.Test.  10.0.0.5 bad 10.0.0.5\nForward: corp.test 1.2.3.4\n"
                                  "Forward: x.test nothing\nDHCPFixed: AABBCCDDEE01 192.168.1.50 NAS.home.lan\n"
                                  "DHCPFixed: aa:bb:cc 1.2.3.4 x\nDHCPFixed: aa:bb:cc:dd:ee:01 192.168.1.60 a\n"
                                  "DHCPFixed: id:0203 192.168.1.50 b\nDHCPOption: 192.168.1.1 42 \"ntp\"\n"
                                  "NS: 10.0.0.4  TLS  Dns.Example.\nNS: 10.0.0.5 tcp x\nNS: 10.0.0.6 tls\n");
    EXPECT_EQ(odd.NS, (std::vector<std::string>{"10.0.0.4"}));
    EXPECT_EQ(odd.NSTLS.at("10.0.0.4"), "dns.example");
    EXPECT_EQ(odd.FORWARD, (std::vector<ForwardRule>{{"corp.test", {"10.0.0.5"}}}));
    EXPECT_EQ(odd.DHCPFIXED, (std::vector<DhcpFixed>{{"aa:bb:cc:dd:ee:01", "192.168.1.50", "nas"}}));
    EXPECT_TRUE(odd.DHCPOPTION.empty());
}

TEST(IniFile, GarbageLoadsWhatIsValid)
{
    std::string text = "Name: good.name\n";
    text += std::string("\0\xff\xfe:\x01\x02\n", 7);
    text += std::string(1 << 20, 'x') + "\n";           // a megabyte line without a colon
    text += "NS: " + std::string(100000, '9') + "\n";    // an absurd address
    for (int i = 0; i < 50000; ++i) text += "NS: 10.1." + std::to_string(i / 256) + "." + std::to_string(i % 256) + "\n";
    text += ":::\n:\nDHCP: \xff \xff\nBombLevel: \x80\n";
    const Settings s = parseIni(text);
    EXPECT_EQ(s.NAME, "good.name");
    EXPECT_EQ(s.NS.size(), 50001u); // the absurd one reads as an address too, once
    EXPECT_EQ(s.NS[1], "10.1.0.0");
    EXPECT_EQ(s.BOMBLEVEL, 0);
}

TEST(IniFile, LoadAndSaveFiles)
{
    TempFolder folder;
    EXPECT_EQ(LoadINI(folder.path()), Settings{}); // missing file: defaults
    Settings s;
    s.NAME = "dns.example";
    ASSERT_TRUE(SaveINI(folder.path(), s, 0));
    EXPECT_EQ(LoadINI(folder.path()), s);
    EXPECT_FALSE(SaveINI(folder.path() / "missing", s, 0));
    EXPECT_EQ(mainCaption(s), "dns.example - Quorvane");
    EXPECT_EQ(mainCaption(Settings{}), "Quorvane");
}

} // namespace quorvane::test
