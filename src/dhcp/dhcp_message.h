// DHCP messages: reading a client's request (the fields and options the server uses) and building
// the server's reply. Pure functions on bytes; a request that cannot be read gives nothing, never
// an exception, and nothing is read past the end of a datagram.
#pragma once

#include "dhcp/dhcp_interface.h"
#include "dhcp/dhcp_options.h"
#include "net/bytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvane {

namespace dhcptype {
inline constexpr int Discover = 1, Offer = 2, Request = 3, Decline = 4, Ack = 5, Nak = 6, Release = 7;
} // namespace dhcptype

// Where a BOOTP message's options start: after the fixed fields and the magic cookie.
inline constexpr size_t kDhcpOptionsAt = 240;

// One request as the server reads it.
struct clDHCPRequest
{
    clDHCPif Interface;     // the settings of the interface it arrived on
    std::string DomainName; // "home.lan": the interface's domain, cleaned
    Bytes txID;             // the 4 transaction bytes as received
    uint8_t HWType = 0;
    Bytes HWAddr;              // hardware-length bytes of chaddr
    std::string ClientIP;      // ciaddr, "0.0.0.0" when the client has none
    std::string RelayIP;       // giaddr: the relay agent that passed the request on, or "0.0.0.0"
    Bytes ClientID;            // option 61, or the hardware type and address when it was not sent
    bool ClientIDSent = false; // option 61 came with the request, and goes back with the reply
    std::string HostName;      // the first label of option 12, cleaned; "dhcp-" + hardware hex without it
    std::string ClientName;    // HostName + "." + DomainName + "."
    std::string ReqIP;         // option 50 in dotted text, empty when absent
    std::string ServerID;      // option 54 in dotted text: the server the client chose
    int MessageType = 0;       // option 53; 0 when absent
    Bytes ParameterRequest;    // option 55: the codes the client asks for, in its order
};

// True for a datagram that the server takes: at least 241 bytes, op 1 (BOOTREQUEST) and the magic
// cookie 99 130 83 99 in place.
bool isDhcpRequest(std::string_view datagram);

// The request's fields and options. Nothing when the hardware length is above the 16 bytes of
// chaddr, or when the client can be told apart by nothing (no hardware address and no client
// identifier). Options: code 0 is one pad byte, code 255 ends the walk, and so does an option whose
// length runs past the end of the datagram.
std::optional<clDHCPRequest> readDhcpRequest(std::string_view datagram, const clDHCPif& interface);

// The reply of the given type: BOOTREPLY with the request's transaction, hardware, ciaddr and giaddr,
// yiaddr = address for an offer or an acknowledgement (0.0.0.0 otherwise), then the options 53, 61
// (when the client sent it), 1, 54, 51, 6, 3 (with a gateway), 12, 15, the added options in the
// client's parameter request order (as many as fit in 576 bytes) and 255.
Bytes buildDhcpReply(const clDHCPRequest& request, int type, const std::string& address,
                     const std::vector<DhcpOptionData>& added = {});

} // namespace quorvane
