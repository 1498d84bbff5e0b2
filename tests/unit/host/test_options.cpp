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

// The first failure in the dialog's order, and the tab that shows it.
TEST(Options, FirstFailureInDialogOrder)
{
    using Change = std::function<void(Settings&, clDHCPif&)>;
    const auto dhcp = [](std::function<void(clDHCPif&)> change) {
        return Change([change](Settings&, clDHCPif& d) { change(d); });
    };
    struct Case {
        Change change;
        const char* message;
        OptionsTab tab;
    };
    const char* const forwarding = "Please add at least one external DNS server\nIP Address to use forwarding!";
    const Case cases[] = {
        {[](Settings& s, clDHCPif& d) { s.NAME.clear(); s.RECURSIONOUT = true; d.TTL = 0; },
         "Please enter server name!", OptionsTab::General},
        {[](Settings& s, clDHCPif& d) { s.RECURSIONOUT = true; s.HOSTS = "/nowhere"; d.TTL = 0; }, forwarding,
         OptionsTab::Forwarding},
        {[](Settings& s, clDHCPif& d) { s.HOSTS = "/nowhere/hosts"; d.TTL = 0; },
         "The specified 'Hosts' file does not exist!", OptionsTab::General},
        {dhcp([](clDHCPif& d) { d.Domain = "..."; }), "Please enter domain name for DHCP!", OptionsTab::Dhcp},
        {dhcp([](clDHCPif& d) { d.ScopeTo.clear(); }), "Please enter from and to IP-Addresses!", OptionsTab::Dhcp},
        {dhcp([](clDHCPif& d) { d.Subnet = "255.0.255.0"; }), "Invalid subnet mask for DHCP!", OptionsTab::Dhcp},
        {dhcp([](clDHCPif& d) { d.ScopeFrom = "192.168.2.100"; }),
         "DHCP IP-Addresses must be on the same subnet as interface!", OptionsTab::Dhcp},
        {dhcp([](clDHCPif& d) { d.ScopeFrom = "192.168.1.0"; }), "Invalid DHCP From IP-Address!", OptionsTab::Dhcp},
        {dhcp([](clDHCPif& d) { d.ScopeTo = "192.168.1.255"; }), "Invalid DHCP To IP-Address!", OptionsTab::Dhcp},
        {dhcp([](clDHCPif& d) { d.Gateway = "10.0.0.1"; }), "DHCP Gateway must be on the same subnet as interface!",
         OptionsTab::Dhcp},
        {dhcp([](clDHCPif& d) { d.Gateway = "192.168.1.255"; }), "Invalid DHCP default gateway IP-Address!",
         OptionsTab::Dhcp},
        {dhcp([](clDHCPif& d) { d.TTL = 0; }), "The Lease Period cannot be zero!", OptionsTab::Dhcp},
        {dhcp([](clDHCPif& d) { d.Domain = ""; d.TTL = 0; }), "Please enter domain name for DHCP!", OptionsTab::Dhcp},
    };
    for (const auto& c : cases) {
        Settings s = valid();
        clDHCPif d = office();
        c.change(s, d);
        const auto check = checkOptions(s, {d}, exists);
        ASSERT_TRUE(check.error) << c.message;
        EXPECT_EQ(check.error->message, c.message);
        EXPECT_EQ(check.error->tab, c.tab) << c.message;
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

    Settings s = valid();
    s.HOSTS = "/etc/hosts";
    const auto check = checkOptions(s, {disabled, backwards}, exists);
    ASSERT_FALSE(check.error);
    EXPECT_EQ(check.accepted.HOSTS, "/etc/hosts");
    EXPECT_EQ(check.accepted.DHCP, (std::vector<clDHCPif>{{"192.168.1.1", ".home.lan", "192.168.1.100",
                                                            "192.168.1.200", "255.255.255.0", "", 3600, true}}));
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
