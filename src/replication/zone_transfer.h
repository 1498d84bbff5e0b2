// The zone-transfer sender: the messages of the DNS-over-TCP service that are not ordinary
// questions. It answers SOA queries for our zones, sends whole zones to their secondaries (for
// AXFR, and for IXFR too), hands NOTIFY on, and refuses everything else. A large transfer goes out
// in slices as the peer takes them, so it never holds the loop.
#pragma once

#include "net/clock.h"
#include "query/dns_tcp.h"
#include "query/query_host.h"
#include "query/request_counters.h"
#include "store/record_store.h"

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace quorvane {

// A zone being sent on a connection: how the zone looked when the transfer began, and how far it got.
struct ZoneTransferProgress
{
    std::string zone;
    RecordKey firstKey = 0;
    size_t count = 0;
    size_t next = 1; // the record that the next slice starts with
    Bytes prefix;    // header and question, the same for every message of the transfer
    Bytes first;     // the first message (the SOA), framed; it also ends the transfer
    std::string remote;
};

class ZoneTransferServer : public TcpMessages
{
public:
    ZoneTransferServer(Clock& clock, QueryHost& host, const RecordStore& store, DnsTcpService& tcp,
                       RequestCounters& counters);

    // Zone change notifications over TCP are offered here first (sender, message, reply); the
    // handler gives whether it took the message.
    using NotifyHandler = std::function<bool(const std::string& sender, std::string_view message,
                                             const std::function<void(std::string_view)>& reply)>;
    void setNotifyHandler(NotifyHandler handler) { m_notify = std::move(handler); }

    void takeMessage(const ctlZT& connection, std::string_view message) override;
    void drained(const ctlZT& connection) override;
    void closed(SocketId connection) override { m_transfers.erase(connection); }

private:
    void sendError(SocketId connection, std::string_view request, int rcode);
    void sendSoa(const ctlZT& connection, const clZone& zone, const clDNSRecord& soa, std::string_view request);
    void startTransfer(const ctlZT& connection, const clZone& zone, const clDNSRecord& soa, std::string_view request,
                       int type);
    void sendSlice(SocketId connection, ZoneTransferProgress& transfer);
    void frameRecord(const Bytes& prefix, const clDNSRecord& record, DateTime now);

    Clock& m_clock;
    QueryHost& m_host;
    const RecordStore& m_store;
    DnsTcpService& m_tcp;
    RequestCounters& m_counters;
    NotifyHandler m_notify;
    // The transfers under way, one per connection at most (so at most kMaxConnections).
    std::unordered_map<SocketId, ZoneTransferProgress> m_transfers;
    Bytes m_message; // the message being built, reused
    Bytes m_out;     // framed messages gathered for one send
};

} // namespace quorvane
