#include "dhcp/dhcp_server.h"

#include "net/atomic_file.h"
#include "wire/addresses.h"

#include <algorithm>
#include <fstream>

namespace quorvane {

namespace {

constexpr uint16_t kServerPort = 67;
constexpr uint16_t kClientPort = 68;
constexpr uint32_t kBroadcast = 0xFFFFFFFF;
// A lease answers DNS with its remaining time, at most this long, so that a name that moves to
// another address is not kept in caches for the days a lease may last.
constexpr int32_t kMaxLeaseTTL = 3600;

// A client with a fixed address goes by the reserved name, whatever name it sends.
clDHCPRequest asOwner(const clDHCPRequest& request, const Reservations::Reserved* fixed)
{
    clDHCPRequest owner = request;
    if (fixed != nullptr) {
        owner.HostName = fixed->label;
        owner.ClientName = fixed->name;
    }
    return owner;
}

} // namespace

DhcpServer::DhcpServer(Network& network, const Clock& clock, Log log, std::function<void()> countRequest,
                       LeaseTable::PermanentName permanent)
    : m_network(network), m_clock(clock), m_log(std::move(log)), m_countRequest(std::move(countRequest)),
      m_permanent(std::move(permanent))
{
}

void DhcpServer::bind(const std::vector<clDHCPif>& interfaces)
{
    closeAll();
    m_reservations.bind(interfaces);
    for (const clDHCPif& interface : interfaces) {
        if (!interface.Enable) continue;
        const SocketId socket = m_network.bindDhcp(interface.IPaddr);
        if (socket == kNoSocket) {
            m_log(0, "Binding DHCP service to " + interface.IPaddr + " failed!");
            continue;
        }
        Element& element = m_WSDHCP.emplace_back(Element{socket, interface, {}});
        for (const DhcpOptionLine& line : m_optionLines)
            if (line.Interface == interface.IPaddr)
                if (auto data = encodeDhcpOption(line.Code, line.Value))
                    element.options.emplace_back(static_cast<uint8_t>(line.Code), std::move(*data));
        m_log(0, "DHCP service started on " + interface.IPaddr);
    }
}

void DhcpServer::closeAll()
{
    for (const Element& element : m_WSDHCP)
        m_network.close(element.socket);
    m_WSDHCP.clear();
}

// Each datagram is one whole message: a short one is dropped, never kept to be joined with the
// next, which may come from another client.
void DhcpServer::DataArrival(SocketId socket, std::string_view data)
{
    for (const Element& element : m_WSDHCP)
        if (element.socket == socket && isDhcpRequest(data)) return Arrival(element, data);
}

void DhcpServer::Arrival(const Element& element, std::string_view data)
{
    m_countRequest();
    const auto request = readDhcpRequest(data, element.interface);
    if (!request) return;
    const std::string& name = request->ClientName;
    switch (request->MessageType) {
    case dhcptype::Discover:
        m_log(0, "DHCP Discovery from " + name +
                     (request->ReqIP.empty() ? "" : " (Looking for " + request->ReqIP + ")"));
        return Discover(element, asOwner(*request, m_reservations.forClient(*request)));
    case dhcptype::Request:
        if (request->ClientIP == "0.0.0.0")
            m_log(0, "DHCP Lease Request from " + name + " for " + request->ReqIP);
        else
            m_log(0, "DHCP Renewal Request from " + name + " for " + request->ClientIP);
        return Request(element, asOwner(*request, m_reservations.forClient(*request)));
    case dhcptype::Decline:
        m_log(0, "DHCP Decline from " + name);
        return Decline(*request);
    case dhcptype::Release:
        m_log(0, "DHCP Release from " + request->ClientIP);
        return Release(request->ClientIP);
    default:
        return;
    }
}

void DhcpServer::Discover(const Element& element, const clDHCPRequest& request)
{
    const clLease client{0, "", request.ClientName, request.ClientID};
    const clLease* known = m_table.byClientID(request.ClientID);
    std::optional<std::string> address = fixedAddress(request, m_reservations.forClient(request));
    if (!address && known != nullptr && valid(request, known->IPaddr, client)) address = known->IPaddr;
    if (!address) address = freeAddress(request, client);
    if (!address) {
        m_log(0,
              "DHCP scope of " + element.interface.IPaddr + " has no free address for " + request.ClientName);
        return; // a client that gets no offer asks again later
    }
    m_table.Remove(*address, request.ClientName);
    // The offer holds the address a short while: offers nobody takes up must not fill the scope.
    m_table.add({addSeconds(m_clock.now(), kOfferHold), *address, request.ClientName, request.ClientID});
    m_changed = true;
    Send(element, request, dhcptype::Offer, *address);
}

// The first address of the scope, from its start upward, that no lease of another client holds and
// that no client declined lately; none when the client's name belongs to another.
std::optional<std::string> DhcpServer::freeAddress(const clDHCPRequest& request, const clLease& client)
{
    const clDHCPif& interface = request.Interface;
    const auto from = addressFromText(interface.ScopeFrom);
    const auto to = addressFromText(interface.ScopeTo);
    const auto own = addressFromText(interface.IPaddr);
    const DateTime now = m_clock.now();
    if (!from || !to || *from > *to || m_table.nameHeld(client, true, now, m_permanent)) return std::nullopt;
    const auto refused = [&](uint32_t address) {
        if (own && address == *own) return true;
        if (m_reservations.heldForOther(addressText(address), request)) return true;
        const auto declined = m_declined.find(address);
        return declined != m_declined.end() && declined->second > now;
    };
    const auto address = m_table.firstFree(*from, *to, client, now, refused);
    return address ? std::optional<std::string>(addressText(*address)) : std::nullopt;
}

bool DhcpServer::valid(const clDHCPRequest& request, const std::string& address, const clLease& client) const
{
    const auto number = addressFromText(address);
    const auto declined = number ? m_declined.find(*number) : m_declined.end();
    if (declined != m_declined.end() && declined->second > m_clock.now()) return false;
    if (m_reservations.heldForOther(address, request)) return false;
    return m_table.ValidLease(request.Interface, address, client, true, m_clock.now(), m_permanent);
}

std::optional<std::string> DhcpServer::fixedAddress(const clDHCPRequest& request, const Reservations::Reserved* fixed)
{
    if (fixed == nullptr) return std::nullopt;
    if (m_table.addressHeld(fixed->address, request.ClientID, m_clock.now())) {
        m_log(0, "DHCP fixed address " + fixed->address + " of " + fixed->name +
                     " is leased to another client - it takes effect when that lease ends");
        return std::nullopt;
    }
    return fixed->address;
}

// The client's own fixed address is good inside or outside the scope while no other client's
// running lease holds it; and while it is free, no other address is. An address fixed for another
// client is never good, also when a lease from before the reservation asks to renew it.
bool DhcpServer::mayAcknowledge(const clDHCPRequest& request, const Reservations::Reserved* fixed,
                                const std::string& address) const
{
    const DateTime now = m_clock.now();
    if (fixed != nullptr && !m_table.addressHeld(fixed->address, request.ClientID, now))
        return address == fixed->address && address != request.Interface.IPaddr;
    const clLease client{0, "", request.ClientName, request.ClientID};
    return !m_reservations.heldForOther(address, request) &&
           m_table.ValidLease(request.Interface, address, client, true, now, m_permanent);
}

void DhcpServer::Request(const Element& element, const clDHCPRequest& request)
{
    // A request that names another server answers that server's offer: ours is not needed.
    if (!request.ServerID.empty() && request.ServerID != element.interface.IPaddr) {
        if (m_table.eraseClientID(request.ClientID)) m_changed = true;
        return;
    }
    if (m_table.eraseClientID(request.ClientID)) m_changed = true;
    // A renewing client names its address in ciaddr and sends no option 50.
    const std::string address = request.ReqIP.empty() ? request.ClientIP : request.ReqIP;
    if (!mayAcknowledge(request, m_reservations.forClient(request), address))
        return Send(element, request, dhcptype::Nak, address);
    m_table.Remove(address, request.ClientName);
    m_table.add(
        {addSeconds(m_clock.now(), element.interface.TTL), address, request.ClientName, request.ClientID});
    m_changed = true;
    Send(element, request, dhcptype::Ack, address);
}

void DhcpServer::Release(const std::string& address)
{
    if (m_table.endAddress(address, m_clock.now())) m_changed = true;
}

// The client found its address in use by another machine: it gives up its lease, and the address
// rests for an hour, as clients expect, before it is offered again.
void DhcpServer::Decline(const clDHCPRequest& request)
{
    const std::string& address = request.ReqIP;
    if (address.empty()) return;
    const auto number = addressFromText(address);
    const auto from = addressFromText(request.Interface.ScopeFrom);
    const auto to = addressFromText(request.Interface.ScopeTo);
    if (!number || !from || !to || *number < *from || *number > *to) return; // only our own addresses rest
    m_declined[*number] = addSeconds(m_clock.now(), kDeclineHold);
    const clLease* lease = m_table.byClientID(request.ClientID);
    if (lease != nullptr && lease->IPaddr == address && m_table.eraseClientID(request.ClientID))
        m_changed = true;
}

void DhcpServer::Send(const Element& element, const clDHCPRequest& request, int type,
                      const std::string& address)
{
    const char* what = type == dhcptype::Offer ? "Offer"
                       : type == dhcptype::Ack ? "Acknowledgement"
                                               : "Negative";
    m_log(0, std::string("Sending DHCP ") + what + " to " + request.ClientName + " for " + address);
    // A relay agent takes the reply on the server port and passes it on. Otherwise a client without
    // an address cannot take a datagram sent to one: it hears broadcasts only.
    const auto relay = addressFromText(request.RelayIP);
    const auto client = addressFromText(request.ClientIP);
    Endpoint to{kBroadcast, kClientPort};
    if (relay && *relay != 0)
        to = {*relay, kServerPort};
    else if (client && *client != 0)
        to = {*client, kClientPort};
    m_network.sendTo(element.socket, to, buildDhcpReply(request, type, address, element.options));
}

void DhcpServer::Load(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    if (in) m_table.load(in); // none at the first start: the table stays empty
}

bool DhcpServer::SaveLeases(const std::filesystem::path& file) const
{
    return writeFileAtomically(file, m_table.fileText());
}

bool DhcpServer::takeChanged()
{
    const bool changed = m_changed;
    m_changed = false;
    return changed;
}

void DhcpServer::purge()
{
    const DateTime now = m_clock.now();
    if (m_table.purge(now) > 0) m_changed = true;
    for (auto declined = m_declined.begin(); declined != m_declined.end();) {
        if (declined->second > now) {
            ++declined;
            continue;
        }
        m_table.mayBeFree(declined->first);
        declined = m_declined.erase(declined);
    }
}

bool DhcpServer::deleteLease(const std::string& address)
{
    const bool deleted = m_table.eraseAddress(address);
    m_changed = m_changed || deleted;
    return deleted;
}

// A running lease answers first; with DHCPFixedNames a reserved name answers also while its
// machine is off.
std::optional<LeaseAnswer> DhcpServer::leaseAddress(std::string_view name) const
{
    // a server without DHCP pays nothing per question
    if (m_table.size() != 0)
        if (auto found = answer(m_table.currentByName(name, m_clock.now()), true)) return found;
    const auto* fixed = m_reservations.byName(name);
    return fixed != nullptr ? std::optional<LeaseAnswer>({fixed->address, kMaxLeaseTTL}) : std::nullopt;
}

std::optional<LeaseAnswer> DhcpServer::leaseName(std::string_view address) const
{
    if (m_table.size() != 0)
        if (auto found = answer(m_table.currentByAddress(address, m_clock.now()), false)) return found;
    const auto* fixed = m_reservations.byAddress(address);
    return fixed != nullptr ? std::optional<LeaseAnswer>({fixed->name, kMaxLeaseTTL}) : std::nullopt;
}

std::optional<LeaseAnswer> DhcpServer::answer(const clLease* lease, bool byName) const
{
    if (lease == nullptr) return std::nullopt;
    const double left = (lease->End - m_clock.now()) * kSecondsPerDay;
    const auto ttl = static_cast<int32_t>(std::clamp(left, 1.0, static_cast<double>(kMaxLeaseTTL)));
    return LeaseAnswer{byName ? lease->IPaddr : lease->ClientName, ttl};
}

} // namespace quorvane
