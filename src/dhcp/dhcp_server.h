// modDHCP: the DHCP server. One socket (WSDHCP element) per enabled interface; DISCOVER, REQUEST,
// DECLINE and RELEASE change the lease table and get their replies; the table is read from and
// written to "dhcp.dat", and answers DNS questions for the names and addresses it holds.
#pragma once

#include "dhcp/dhcp_message.h"
#include "dhcp/lease_table.h"
#include "dhcp/reservations.h"
#include "net/clock.h"
#include "net/network.h"
#include "query/lease_lookup.h"

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

class DhcpServer : public LeaseLookup
{
public:
    using Log = std::function<void(int level, const std::string& text)>;
    // An offer holds its address this long for the client's request.
    static constexpr int32_t kOfferHold = 60;
    // An address a client declined (someone else uses it) is not offered again for this long.
    static constexpr int32_t kDeclineHold = 3600;

    // countRequest counts a message in the per-second statistics; permanent says whether a name
    // belongs to a permanent DNS record.
    DhcpServer(Network& network, const Clock& clock, Log log, std::function<void()> countRequest,
               LeaseTable::PermanentName permanent);

    // The fixed addresses (DHCPFixed, DHCPFixedNames); they take effect at the next bind.
    void setReservations(const std::vector<DhcpFixed>& lines, bool fixedNames)
    {
        m_reservations.configure(lines, fixedNames);
    }
    // The added options (DHCPOption), by interface; they take effect at the next bind.
    void setOptions(const std::vector<DhcpOptionLine>& lines) { m_optionLines = lines; }
    // One socket per enabled interface, each with its log line; the sockets of an earlier call go.
    void bind(const std::vector<clDHCPif>& interfaces);
    void closeAll();
    // A datagram on one of the sockets; only called while the server runs.
    void DataArrival(SocketId socket, std::string_view data);

    // The lease file: read at start, written atomically after changes and at exit.
    void Load(const std::filesystem::path& file);
    bool SaveLeases(const std::filesystem::path& file) const;
    // Whether the table changed since the last call; the housekeeping tick saves it then.
    bool takeChanged();
    // Once a tick: leases that ended long ago leave the table, declined addresses that rested
    // long enough may be offered again.
    void purge();
    // The operator's "Delete" in the leases window.
    bool deleteLease(const std::string& address);
    std::vector<clLease> leases() const { return m_table.leases(); }

    std::optional<LeaseAnswer> leaseAddress(std::string_view name) const override;
    std::optional<LeaseAnswer> leaseName(std::string_view address) const override;

private:
    struct Element
    {
        SocketId socket = kNoSocket;
        clDHCPif interface;
        std::vector<DhcpOptionData> options; // added after the fixed ones
    };
    void Arrival(const Element& element, std::string_view data);
    void Discover(const Element& element, const clDHCPRequest& request);
    void Request(const Element& element, const clDHCPRequest& request);
    void Release(const std::string& address);
    void Decline(const clDHCPRequest& request);
    void Send(const Element& element, const clDHCPRequest& request, int type, const std::string& address);
    std::optional<std::string> freeAddress(const clDHCPRequest& request, const clLease& client);
    bool valid(const clDHCPRequest& request, const std::string& address, const clLease& client) const;
    // The client's own fixed address, while no running lease of another client holds it.
    std::optional<std::string> fixedAddress(const clDHCPRequest& request, const Reservations::Reserved* fixed);
    bool mayAcknowledge(const clDHCPRequest& request, const Reservations::Reserved* fixed,
                        const std::string& address) const;
    std::optional<LeaseAnswer> answer(const clLease* lease, bool byName) const;

    Network& m_network;
    const Clock& m_clock;
    Log m_log;
    std::function<void()> m_countRequest;
    LeaseTable::PermanentName m_permanent;
    std::vector<Element> m_WSDHCP;
    LeaseTable m_table;
    Reservations m_reservations;
    std::vector<DhcpOptionLine> m_optionLines;
    std::map<uint32_t, DateTime> m_declined; // address -> until when it is not offered (a few at most)
    bool m_changed = false;
};

} // namespace quorvane
