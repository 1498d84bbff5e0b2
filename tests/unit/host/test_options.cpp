#include "host/options.h"
#include "support/call_table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quorvane::test {

namespace {

clDHCPif office()
{
    return {"192.168.1.1", "home.lan", "192.168.1.100", "192.168.1.200", "255.255.255.0", "192.168.1.254", 3600, true};
}

bool exists(const std::string& path) { return path == "/etc/hosts"; }

// Sets one field named as "FIELD=value" on the settings or the DHCP interface.
void change(Settings& s, clDHCPif& d, const std::string& field)
{
    const size_t equals = field.find('=');
    const std::string name = field.substr(0, equals), value = field.substr(equals + 1);
    const std::map<std::string, std::string*> texts{{"NAME", &s.NAME},         {"HOSTS", &s.HOSTS},
                                                    {"Domain", &d.Domain},     {"ScopeFrom", &d.ScopeFrom},
                                                    {"ScopeTo", &d.ScopeTo},   {"Subnet", &d.Subnet},
                                                    {"Gateway", &d.Gateway}};
    if (name == "RECURSIONOUT") s.RECURSIONOUT = value == "YES";
    else if (name == "TTL") d.TTL = std::stoi(value);
    else *texts.at(name) = value;
}

} // namespace

TEST(Options, FirstFailureInDialogOrderAndRecursionChoices)
{
    const Calls calls = {{"Check", [](const Args& a) {
                              Settings s;
                              s.NAME = "ns.home.lan";
                              clDHCPif d = office();
                              for (const auto& field : a) change(s, d, field);
                              const auto check = checkOptions(s, {d}, exists);
                              const char* const tabs[] = {"General", "Forwarding", "Logging", "Blocking", "Dhcp"};
                              if (!check.error) return std::string("accepted");
                              return tabs[static_cast<int>(check.error->tab)] + (": " + check.error->message);
                          }},
                         {"Choices", [](const Args& a) {
                              std::istringstream addresses(a[1]);
                              std::string out, address;
                              std::vector<std::string> local;
                              while (addresses >> address) local.push_back(address);
                              for (const auto& choice : recursionChoices(a[0], local))
                                  out += (out.empty() ? "" : " ") + choice;
                              return out;
                          }}};
    runCallTable(QUORVANE_HOST_DATA "/option_checks.txt", calls, 16);
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

    Settings s;
    s.NAME = "ns.home.lan";
    s.HOSTS = "/etc/hosts";
    const auto check = checkOptions(s, {disabled, backwards}, exists);
    ASSERT_FALSE(check.error);
    EXPECT_EQ(check.accepted.HOSTS, "/etc/hosts");
    EXPECT_EQ(check.accepted.DHCP, (std::vector<clDHCPif>{{"192.168.1.1", ".home.lan", "192.168.1.100",
                                                            "192.168.1.200", "255.255.255.0", "", 3600, true}}));
}

} // namespace quorvane::test
