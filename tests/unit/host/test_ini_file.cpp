#include "host/ini_file.h"

#include <gtest/gtest.h>

#include <fstream>

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
                                "Unknown: whatever\n:::\n:\n\xff\x01:\x02\n"
                                "DHCP: 192.168.1.1 Office.LAN 192.168.1.100 192.168.1.200 255.255.255.0 0.0.0.0 0\n"
                                "DHCP: 10.0.0.1 ..lab.. 10.0.0.10 10.0.0.20 255.0.0.0 10.0.0.254\n"
                                "DHCP: 192.168.1.1 again 1.1.1.1 1.1.1.2 255.0.0.0 0.0.0.0 60\n" // same interface
                                "DHCP:\n"
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
    std::ifstream file(QUORVANE_HOST_DATA "/all_settings.ini", std::ios::binary);
    const std::string golden(std::istreambuf_iterator<char>(file), {});
    const Settings s = parseIni(golden);
    EXPECT_EQ(formatIni(s, 40123), golden);
    EXPECT_EQ(s.USER, "DnsUser"); // keeps its letter case
    EXPECT_EQ(s.NS, (std::vector<std::string>{"10.0.0.1", "10.0.0.2", "10.0.0.3"}));
    EXPECT_EQ(s.NSTLS.at("10.0.0.3"), "dns.example");
    EXPECT_EQ(s.DHCPOPTION.at(0), (DhcpOptionLine{"192.168.1.1", 119, "\"Home.lan corp.test\""}));
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

} // namespace quorvane::test
