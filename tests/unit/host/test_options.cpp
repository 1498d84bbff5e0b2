#include "host/options.h"

#include <gtest/gtest.h>

namespace quorvane::test {

namespace {

Settings valid()
{
    Settings s;
    s.NAME = "ns.home.lan";
    return s;
}

clDHCPif office()
{
    return {"192.168.1.1", "home.lan", "192.168.1.100", "192.168.1.200", "255.255.255.0", "192.168.1.254", 3600, true};
}

bool exists(const std::string& path) { return path == "/etc/hosts"; }

} // namespace

TEST(Options, FirstFailureInDialogOrder)
{
    Settings s = valid();
    s.NAME.clear();
    s.RECURSIONOUT = true;
    auto check = checkOptions(s, {}, exists);
    ASSERT_TRUE(check.error);
    EXPECT_EQ(check.error->message, "Please enter server name!");
    EXPECT_EQ(check.error->tab, OptionsTab::General);

    s.NAME = "x";
    check = checkOptions(s, {}, exists);
    ASSERT_TRUE(check.error);
    EXPECT_EQ(check.error->message, "Please add at least one external DNS server\nIP Address to use forwarding!");
    EXPECT_EQ(check.error->tab, OptionsTab::Forwarding);

    s.NS = {"10.0.0.1"};
    s.HOSTS = "/nowhere/hosts";
    check = checkOptions(s, {}, exists);
    ASSERT_TRUE(check.error);
    EXPECT_EQ(check.error->message, "The specified 'Hosts' file does not exist!");

    s.HOSTS = "/etc/hosts";
    check = checkOptions(s, {}, exists);
    EXPECT_FALSE(check.error);
    EXPECT_EQ(check.accepted.HOSTS, "/etc/hosts");
}

TEST(Options, DhcpChecks)
{
    struct Case {
        std::function<void(clDHCPif&)> change;
        const char* message;
    };
    const Case cases[] = {
        {[](clDHCPif& d) { d.Domain = "..."; }, "Please enter domain name for DHCP!"},
        {[](clDHCPif& d) { d.ScopeTo.clear(); }, "Please enter from and to IP-Addresses!"},
        {[](clDHCPif& d) { d.Subnet = "255.0.255.0"; }, "Invalid subnet mask for DHCP!"},
        {[](clDHCPif& d) { d.ScopeFrom = "192.168.2.100"; }, "DHCP IP-Addresses must be on the same subnet as interface!"},
        {[](clDHCPif& d) { d.ScopeFrom = "192.168.1.0"; }, "Invalid DHCP From IP-Address!"},
        {[](clDHCPif& d) { d.ScopeTo = "192.168.1.255"; }, "Invalid DHCP To IP-Address!"},
        {[](clDHCPif& d) { d.Gateway = "10.0.0.1"; }, "DHCP Gateway must be on the same subnet as interface!"},
        {[](clDHCPif& d) { d.Gateway = "192.168.1.255"; }, "Invalid DHCP default gateway IP-Address!"},
        {[](clDHCPif& d) { d.TTL = 0; }, "The Lease Period cannot be zero!"},
        // Checked in order: the domain comes before the addresses.
        {[](clDHCPif& d) { d.Domain = ""; d.TTL = 0; }, "Please enter domain name for DHCP!"},
    };
    for (const auto& c : cases) {
        clDHCPif d = office();
        c.change(d);
        const auto check = checkOptions(valid(), {d}, exists);
        ASSERT_TRUE(check.error) << c.message;
        EXPECT_EQ(check.error->message, c.message);
        EXPECT_EQ(check.error->tab, OptionsTab::Dhcp);
    }
}

TEST(Options, DhcpAcceptedEnabledOnlyWithRangeInOrder)
{
    clDHCPif backwards = office();
    std::swap(backwards.ScopeFrom, backwards.ScopeTo);
    backwards.Gateway.clear();
    clDHCPif disabled = office();
    disabled.IPaddr = "10.0.0.1";
    disabled.Enable = false;
    disabled.TTL = 0; // not checked: the interface is off

    const auto check = checkOptions(valid(), {disabled, backwards}, exists);
    ASSERT_FALSE(check.error);
    ASSERT_EQ(check.accepted.DHCP.size(), 1u);
    EXPECT_EQ(check.accepted.DHCP[0].ScopeFrom, "192.168.1.100");
    EXPECT_EQ(check.accepted.DHCP[0].ScopeTo, "192.168.1.200");
    EXPECT_EQ(check.accepted.DHCP[0].Domain, ".home.lan");
}

TEST(Options, RecursionChoices)
{
    EXPECT_EQ(recursionChoices("", {"192.168.1.10", "10.0.0.2"}),
              (std::vector<std::string>{"<all>", "192.*.*.*", "192.168.*.*", "192.168.1.*", "10.*.*.*", "10.0.*.*",
                                        "10.0.0.*", "127.0.0.1", "<none>"}));
    EXPECT_EQ(recursionChoices("10.0.0.2", {"192.168.1.10", "10.0.0.2"}),
              (std::vector<std::string>{"<all>", "10.*.*.*", "10.0.*.*", "10.0.0.*", "127.0.0.1", "<none>"}));
}

} // namespace quorvane::test
