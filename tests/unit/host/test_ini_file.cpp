#include "host/ini_file.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

namespace quorvane::test {

TEST(IniFile, ReadingRules)
{
    // Keys in any case, spaces around them and line ends of either kind; a line without a colon is
    // all key; a later line overrides an earlier one; a second DHCP line for an interface is dropped.
    const Settings s = parseIni(fileText(QUORVANE_HOST_DATA "/reading_rules.ini"));
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
    // Domains cleaned; lease period 0 or missing: three days.
    EXPECT_EQ(s.DHCP, (std::vector<clDHCPif>{
                          {"192.168.1.1", ".office.lan", "192.168.1.100", "192.168.1.200", "255.255.255.0", "", 259200,
                           true},
                          {"10.0.0.1", ".lab", "10.0.0.10", "10.0.0.20", "255.0.0.0", "10.0.0.254", 259200, true}}));

    // Flags: only a value beginning with Y counts, in any spelling of the key.
    for (const char* line : {"StartMini: y", "startmini:YES", "STARTMINI :  yes"})
        EXPECT_TRUE(parseIni(line).STARTMINI) << line;
    for (const char* line : {"StartMini: 1", "StartMini: true", "StartMini:", "StartMini: no"})
        EXPECT_FALSE(parseIni(line).STARTMINI) << line;
    EXPECT_EQ(parseIni(""), Settings{}); // missing keys keep their defaults
}

// The golden file sets every setting away from its default; it reads and is written back unchanged.
TEST(IniFile, WrittenFormAndRoundTrip)
{
    const std::string golden = fileText(QUORVANE_HOST_DATA "/all_settings.ini");
    const Settings s = parseIni(golden);
    EXPECT_EQ(formatIni(s, 40123), golden);
    EXPECT_EQ(s.USER, "DnsUser"); // keeps its letter case
    EXPECT_EQ(s.NS, (std::vector<std::string>{"10.0.0.1", "10.0.0.2", "10.0.0.3"}));
    EXPECT_EQ(s.NSTLS.at("10.0.0.3"), "dns.example");
    EXPECT_EQ(s.DHCPOPTION.at(0), (DhcpOptionLine{"192.168.1.1", 119, "\"Home.lan corp.test\""}));
    EXPECT_EQ(formatIni(Settings{}, 0), "HostsTTL: 3600 \nDNSRecursion: <all>\nReloadPort: 0 \nBombLevel: 0 \n");
    EXPECT_EQ(parseIni(formatIni(Settings{}, 0)), Settings{});
    // The additions' lines: read cleaned; unusable ones and a repeated domain, client or address dropped.
    const Settings odd = parseIni(fileText(QUORVANE_HOST_DATA "/added_lines.ini"));
    EXPECT_EQ(odd.NS, (std::vector<std::string>{"10.0.0.4"}));
    EXPECT_EQ(odd.NSTLS.at("10.0.0.4"), "dns.example");
    EXPECT_EQ(odd.FORWARD, (std::vector<ForwardRule>{{"corp.test", {"10.0.0.5"}}}));
    EXPECT_EQ(odd.DHCPFIXED, (std::vector<DhcpFixed>{{"aa:bb:cc:dd:ee:01", "192.168.1.50", "nas"}}));
    EXPECT_TRUE(odd.DHCPOPTION.empty());
}

} // namespace quorvane::test
