#include "host/options.h"

#include "host/ini_file.h"
#include "wire/addresses.h"

namespace quorvane {

namespace {

bool contiguousMask(const std::string& mask)
{
    const std::string bits = IPToBin(mask);
    return bits.find("01") == std::string::npos;
}

std::optional<std::string> dhcpError(clDHCPif& d)
{
    const std::string domain = CleanName(d.Domain); // typed with or without its leading dot
    if (domain.empty()) return "Please enter domain name for DHCP!";
    if (d.ScopeFrom.empty() || d.ScopeTo.empty()) return "Please enter from and to IP-Addresses!";
    if (!contiguousMask(d.Subnet)) return "Invalid subnet mask for DHCP!";
    if (!SameNet(d.IPaddr, d.ScopeFrom, d.Subnet) || !SameNet(d.IPaddr, d.ScopeTo, d.Subnet))
        return "DHCP IP-Addresses must be on the same subnet as interface!";
    if (!ValidIP(d.ScopeFrom, d.Subnet)) return "Invalid DHCP From IP-Address!";
    if (!ValidIP(d.ScopeTo, d.Subnet)) return "Invalid DHCP To IP-Address!";
    if (!d.Gateway.empty() && !SameNet(d.IPaddr, d.Gateway, d.Subnet))
        return "DHCP Gateway must be on the same subnet as interface!";
    if (!d.Gateway.empty() && !ValidIP(d.Gateway, d.Subnet)) return "Invalid DHCP default gateway IP-Address!";
    if (d.TTL == 0) return "The Lease Period cannot be zero!";
    if (IPToBin(d.ScopeFrom) > IPToBin(d.ScopeTo)) std::swap(d.ScopeFrom, d.ScopeTo);
    d.Domain = "." + domain;
    return std::nullopt;
}

} // namespace

OptionsCheck checkOptions(const Settings& proposed, const std::vector<clDHCPif>& dhcp,
                          const std::function<bool(const std::string& path)>& fileExists)
{
    OptionsCheck check{std::nullopt, proposed};
    if (proposed.NAME.empty()) {
        check.error = OptionsError{"Please enter server name!", OptionsTab::General};
    } else if (proposed.RECURSIONOUT && proposed.NS.empty()) {
        check.error = OptionsError{"Please add at least one external DNS server\nIP Address to use forwarding!",
                                   OptionsTab::Forwarding};
    } else if (!proposed.HOSTS.empty() && !fileExists(proposed.HOSTS)) {
        check.error = OptionsError{"The specified 'Hosts' file does not exist!", OptionsTab::General};
    }
    if (check.error) return check;

    check.accepted.DHCP.clear();
    for (clDHCPif d : dhcp) {
        if (!d.Enable) continue;
        if (auto message = dhcpError(d)) {
            check.error = OptionsError{*message, OptionsTab::Dhcp};
            return check;
        }
        check.accepted.DHCP.push_back(std::move(d));
    }
    return check;
}

std::vector<std::string> recursionChoices(const std::string& dnsBind, const std::vector<std::string>& localAddresses)
{
    std::vector<std::string> choices{"<all>"};
    const std::vector<std::string> bound{dnsBind};
    for (const auto& address : dnsBind.empty() ? localAddresses : bound) {
        const std::string data = IPToData(address);
        const auto part = [&](size_t i) { return std::to_string(static_cast<unsigned char>(data[i])); };
        choices.push_back(part(0) + ".*.*.*");
        choices.push_back(part(0) + '.' + part(1) + ".*.*");
        choices.push_back(part(0) + '.' + part(1) + '.' + part(2) + ".*");
    }
    choices.emplace_back("127.0.0.1");
    choices.emplace_back("<none>");
    return choices;
}

} // namespace quorvane
