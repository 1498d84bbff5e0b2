// The DHCP service settings of one local interface, as the configuration file and the options
// dialog give them. Data only.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

struct clDHCPif
{
    static constexpr int32_t kDefaultLease = 259200; // three days

    std::string IPaddr;    // the server's own address on that interface
    std::string Domain;    // "." + domain name given to clients
    std::string ScopeFrom; // first address handed out
    std::string ScopeTo;   // last address handed out
    std::string Subnet;
    std::string Gateway;         // empty: none
    int32_t TTL = kDefaultLease; // lease period, seconds
    bool Enable = false;
    bool operator==(const clDHCPif&) const = default;
};

// A fixed address for one client (DHCPFixed): the client by hardware address ("aa:bb:cc:dd:ee:ff")
// or by client identifier ("id:" and its bytes in hexadecimal, lower case), the address, and the
// one-label name it gets in the domain of the interface whose network holds the address.
struct DhcpFixed
{
    std::string Client;
    std::string IPaddr;
    std::string Name;
    bool operator==(const DhcpFixed&) const = default;
};

// An option added to the replies of one interface (DHCPOption): the interface's address, the code
// and the value as written.
struct DhcpOptionLine
{
    std::string Interface;
    int Code = 0;
    std::string Value;
    bool operator==(const DhcpOptionLine&) const = default;
};

} // namespace quorvane
