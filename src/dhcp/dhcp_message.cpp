#include "dhcp/dhcp_message.h"

#include "dhcp/lease_table.h"
#include "wire/addresses.h"
#include "wire/clean_name.h"

#include <algorithm>
#include <array>

namespace quorvane {

namespace {

constexpr std::array<unsigned char, 4> kCookie{99, 130, 83, 99};
constexpr size_t kChaddrAt = 28;
constexpr size_t kChaddrSize = 16;
constexpr size_t kServerNameAndFile = 192;
// The size every client takes; added options that would make a reply longer are left out.
constexpr size_t kMaxReply = 576;

enum Option : unsigned char {
    Pad = 0,
    SubnetMask = 1,
    Router = 3,
    DnsServer = 6,
    HostName = 12,
    DomainName = 15,
    RequestedAddress = 50,
    LeaseTime = 51,
    MessageType = 53,
    ServerId = 54,
    ParameterRequest = 55,
    ClientId = 61,
    End = 255,
};

unsigned byteAt(std::string_view data, size_t i)
{
    return static_cast<unsigned char>(data[i]);
}

// "dhcp-" + the bytes in lower-case hexadecimal: the name of a client that gives none.
std::string generatedName(std::string_view bytes)
{
    std::string hex = HWToHex(bytes);
    std::transform(hex.begin(), hex.end(), hex.begin(),
                   [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c + 32) : c; });
    return "dhcp-" + hex;
}

void readOption(clDHCPRequest& request, unsigned code, std::string_view data)
{
    switch (code) {
    case HostName:
        request.HostName = CleanName(data.substr(0, data.find('.')));
        break;
    case RequestedAddress:
        if (data.size() == 4) request.ReqIP = DataToIP(data);
        break;
    case ServerId:
        if (data.size() == 4) request.ServerID = DataToIP(data);
        break;
    case MessageType:
        if (data.size() == 1) request.MessageType = static_cast<int>(byteAt(data, 0));
        break;
    case ParameterRequest:
        request.ParameterRequest = data;
        break;
    case ClientId:
        request.ClientID = data;
        request.ClientIDSent = !data.empty();
        break;
    default:
        break; // not needed
    }
}

void putOption(Bytes& out, unsigned char code, std::string_view data)
{
    out += static_cast<char>(code);
    out += static_cast<char>(data.size());
    out += data;
}

} // namespace

bool isDhcpRequest(std::string_view datagram)
{
    if (datagram.size() <= kDhcpOptionsAt || byteAt(datagram, 0) != 1) return false;
    for (size_t i = 0; i < kCookie.size(); ++i)
        if (byteAt(datagram, kDhcpOptionsAt - 4 + i) != kCookie[i]) return false;
    return true;
}

std::optional<clDHCPRequest> readDhcpRequest(std::string_view datagram, const clDHCPif& interface)
{
    if (!isDhcpRequest(datagram)) return std::nullopt;
    const size_t hardwareLength = byteAt(datagram, 2);
    if (hardwareLength > kChaddrSize) return std::nullopt;
    clDHCPRequest request;
    request.Interface = interface;
    request.DomainName = CleanName(interface.Domain);
    request.HWType = static_cast<uint8_t>(byteAt(datagram, 1));
    request.txID = datagram.substr(4, 4);
    request.ClientIP = DataToIP(datagram.substr(12, 4));
    request.RelayIP = DataToIP(datagram.substr(24, 4));
    request.HWAddr = datagram.substr(kChaddrAt, hardwareLength);
    for (size_t at = kDhcpOptionsAt; datagram.size() - at >= 2;) {
        const unsigned code = byteAt(datagram, at);
        if (code == End) break;
        if (code == Pad) {
            ++at;
            continue;
        }
        const size_t length = byteAt(datagram, at + 1);
        if (datagram.size() - at - 2 < length) break; // runs past the end
        readOption(request, code, datagram.substr(at + 2, length));
        at += 2 + length;
    }
    if (!request.ClientIDSent) {
        if (request.HWAddr.empty()) return std::nullopt;
        // Without its own identifier a client is known by its hardware address, as most are.
        request.ClientID = static_cast<char>(request.HWType) + request.HWAddr;
    }
    // A client that gives no name still needs one in the lease table and in DNS; its hardware
    // address makes one that stays the same across its requests.
    if (request.HostName.empty())
        request.HostName = generatedName(request.HWAddr.empty() ? request.ClientID : request.HWAddr);
    request.ClientName = request.HostName + "." + request.DomainName + ".";
    return request;
}

Bytes buildDhcpReply(const clDHCPRequest& request, int type, const std::string& address,
                     const std::vector<DhcpOptionData>& added)
{
    const bool leased = type == dhcptype::Offer || type == dhcptype::Ack;
    Bytes out;
    out += '\x02'; // BOOTREPLY
    out += static_cast<char>(request.HWType);
    out += static_cast<char>(request.HWAddr.size());
    out += '\0'; // hops
    out += request.txID;
    out.append(4, '\0'); // secs and flags
    out += IPToData(request.ClientIP);
    out += IPToData(leased ? address : "0.0.0.0");
    out.append(4, '\0');                                                    // siaddr
    out += IPToData(request.RelayIP.empty() ? "0.0.0.0" : request.RelayIP); // a relay knows its reply by it
    out += request.HWAddr;
    out.append(kChaddrSize - request.HWAddr.size(), '\0');
    out.append(kServerNameAndFile, '\0');
    for (const unsigned char c : kCookie)
        out += static_cast<char>(c);

    const clDHCPif& interface = request.Interface;
    putOption(out, MessageType, Bytes(1, static_cast<char>(type)));
    if (request.ClientIDSent) putOption(out, ClientId, request.ClientID);
    putOption(out, SubnetMask, IPToData(interface.Subnet));
    putOption(out, ServerId, IPToData(interface.IPaddr));
    const auto lease = static_cast<uint32_t>(interface.TTL);
    putOption(out, LeaseTime,
              Bytes{static_cast<char>(lease >> 24), static_cast<char>(lease >> 16 & 0xFF),
                    static_cast<char>(lease >> 8 & 0xFF), static_cast<char>(lease & 0xFF)});
    putOption(out, DnsServer, IPToData(interface.IPaddr));
    if (!interface.Gateway.empty() && interface.Gateway != "0.0.0.0")
        putOption(out, Router, IPToData(interface.Gateway));
    putOption(out, HostName, request.HostName.substr(0, 254) + '\0');
    putOption(out, DomainName, request.DomainName.substr(0, 255));
    if (leased)
        for (const DhcpOptionData* option : inRequestOrder(added, request.ParameterRequest))
            if (out.size() + 2 + option->second.size() < kMaxReply) putOption(out, option->first, option->second);
    out += static_cast<char>(End);
    return out;
}

} // namespace quorvane
