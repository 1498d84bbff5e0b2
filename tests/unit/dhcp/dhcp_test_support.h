// Builds client requests as DHCP clients send them, for the DHCP tests.
#pragma once

#include "dhcp/dhcp_interface.h"
#include "net/bytes.h"
#include "wire/addresses.h"

#include <string>
#include <utility>
#include <vector>

namespace quorvane::test {

// The served interface of the tests: 10.0.0.1, home.lan, 10.0.0.100 to 10.0.0.102, a /24, router
// 10.0.0.254, leases of 600 s.
inline clDHCPif testInterface()
{
    return {"10.0.0.1", ".home.lan", "10.0.0.100", "10.0.0.102", "255.255.255.0", "10.0.0.254", 600, true};
}

using DhcpOptions = std::vector<std::pair<int, Bytes>>;

// A BOOTREQUEST from hardware address 02 00 00 00 00 <host>, with ciaddr and options as given
// (no end option is added: the caller gives 255 when it wants one).
inline Bytes dhcpRequest(int host, const std::string& ciaddr, const DhcpOptions& options)
{
    // op, htype, hlen, hops, xid; secs, flags; ciaddr; yiaddr, siaddr, giaddr; chaddr; sname, file; cookie.
    Bytes m = Bytes("\x01\x01\x06\0\x12\x34\x56\x78", 8) + Bytes(4, '\0') + IPToData(ciaddr) + Bytes(12, '\0');
    m += Bytes("\x02\0\0\0\0", 5) + static_cast<char>(host) + Bytes(10 + 192, '\0') + "\x63\x82\x53\x63";
    for (const auto& [code, data] : options) {
        m += static_cast<char>(code);
        if (code == 0 || code == 255) continue;
        m += static_cast<char>(data.size());
        m += data;
    }
    return m;
}

inline Bytes typeOption(int type)
{
    return Bytes(1, static_cast<char>(type));
}

} // namespace quorvane::test
