// The fixed addresses of the DHCP server: which client owns which address on which interface, and
// (with DHCPFixedNames) the names they answer in DNS even while their machine is off.
#pragma once

#include "dhcp/dhcp_message.h"
#include "net/bytes.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

class Reservations
{
public:
    struct Reserved
    {
        Bytes hardware;   // chaddr to match; empty when the client is given by identifier
        Bytes identifier; // option 61 to match; empty when given by hardware address
        std::string address;
        std::string label; // "nas"
        std::string name;  // "nas.home.lan.", in the domain of the interface holding the address
    };

    // The operator's lines, kept for bind; a line whose client or address cannot be read is left out.
    void configure(const std::vector<DhcpFixed>& lines, bool fixedNames);
    // Each line goes to the first interface whose network holds its address; lines no interface
    // holds are not used.
    void bind(const std::vector<clDHCPif>& interfaces);

    // The client's reservation on the interface the request came in on; nullptr for none.
    const Reserved* forClient(const clDHCPRequest& request) const;
    // Whether the address belongs to a client other than the request's.
    bool heldForOther(std::string_view address, const clDHCPRequest& request) const;
    // With DHCPFixedNames: the address of a reserved name, and the name of a reserved address.
    const Reserved* byName(std::string_view name) const;
    const Reserved* byAddress(std::string_view address) const;

private:
    static bool owns(const Reserved& reserved, const clDHCPRequest& request);

    std::vector<DhcpFixed> m_lines;
    bool m_fixedNames = false;
    std::vector<Reserved> m_reserved;
};

// The client of a DHCPFixed line in its written form ("aa:bb:cc:dd:ee:ff" or "id:0a0b"); empty when
// it is neither six hardware bytes nor an identifier of at least two.
std::string cleanFixedClient(std::string_view text);

} // namespace quorvane
