#include "host/ini_file.h"
#include "support/call_table.h"

#include <gtest/gtest.h>

namespace quorvane::test {

TEST(IniFile, ReadingRules)
{
    // Keys in any case, spaces around them and line ends of either kind; a line without a colon is
    // all key; a later line overrides an earlier one; a second DHCP line for an interface is dropped.
    const Settings s = parseIni(fileText(QUORVANE_HOST_DATA "/reading_rules.ini"));
    expectGoldenFile(QUORVANE_HOST_DATA "/reading_rules.written", formatIni(s, 0));
    EXPECT_EQ(s.CACHETTL, 0); // a negative number reads as 0, which the written form leaves out
    // Domains cleaned; lease period 0 or missing: three days; no gateway (written as 0.0.0.0).
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
    expectGoldenFile(QUORVANE_HOST_DATA "/added_lines.written", formatIni(odd, 0));
}

} // namespace quorvane::test
