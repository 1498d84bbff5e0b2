// The zone-transfer service on TCP port 53: one ctlZT per connection in the pool TCPcon. It frames
// messages with their 2-byte length, answers SOA queries for our zones and sends whole zones to
// their secondaries (for AXFR, and for IXFR too), hands ordinary questions to the DNS service when
// it answers TCP, refuses everything else, and closes a connection
// after 10 idle seconds. A large transfer goes out in slices as the peer takes them, so it never
// holds the loop.
#pragma once

#include "net/clock.h"
#include "net/network.h"
#include "query/dns_service.h"
#include "query/flood_guard.h"
#include "query/query_host.h"
#include "query/request_counters.h"
#include "store/record_store.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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
};

// One TCP connection of the service. An element is Free (Busy false) or Serving; elements are
// reused, never removed.
class ctlZT
{
public:
    bool Busy = false;
    Bytes buffer;          // received and not yet taken as whole messages
    int16_t idleTicks = 0; // seconds without data in or transfer data out
    std::string remote;    // the peer's dotted address, for the log
    Endpoint peer;
    SocketId Winsock = kNoSocket;

    std::optional<ZoneTransferProgress> transfer; // while a zone is being sent
};

class ZoneTransferServer
{
public:
    // Connections served at once, one descriptor each. Debian's default limit is 1024 descriptors
    // per process (ulimit -n); the running server holds 14 of its own (measured in /proc/PID/fd:
    // its sockets, the log and standard streams), so 256 keeps three quarters of the limit free for
    // files, the DHCP sockets and the connections to primaries, while a small network needs a few.
    static constexpr size_t kMaxConnections = 256;
    // Idle seconds after which a connection is closed.
    static constexpr int kIdleSeconds = 10;

    ZoneTransferServer(Network& network, Clock& clock, QueryHost& host, const RecordStore& store,
                       DnsService& dns, RequestCounters& counters, const FloodGuard& flood);
    ~ZoneTransferServer();
    ZoneTransferServer(const ZoneTransferServer&) = delete;
    ZoneTransferServer& operator=(const ZoneTransferServer&) = delete;

    // Zone change notifications over TCP are offered here first (sender, message, reply); the
    // handler gives whether it took the message.
    using NotifyHandler = std::function<bool(const std::string& sender, std::string_view message,
                                             const std::function<void(std::string_view)>& reply)>;
    void setNotifyHandler(NotifyHandler handler) { m_notify = std::move(handler); }

    // A connection accepted on WSZT; running is the server's state.
    void connectionRequest(SocketId connection, const Endpoint& from, bool running);
    void DataArrival(SocketId connection, std::string_view data);
    // The connection took all we queued: a transfer goes on with its next slice.
    void drained(SocketId connection);
    // A reply of the DNS service to a question asked on one of our connections; nothing when that
    // connection has gone meanwhile.
    void sendAnswer(SocketId connection, std::string_view message);
    // The peer closed the connection (or it failed).
    void peerClosed(SocketId connection);
    // Every connection is closed (the program ends).
    void closeAll();

    const std::vector<std::unique_ptr<ctlZT>>& TCPcon() const { return m_TCPcon; }

private:
    ctlZT* find(SocketId connection);
    void Accept(ctlZT& element, SocketId connection, const Endpoint& from);
    void takeMessages(ctlZT& element);
    void ProcReq(ctlZT& element, std::string_view message);
    void sendError(ctlZT& element, std::string_view request, int rcode);
    void sendSoa(ctlZT& element, const clZone& zone, const clDNSRecord& soa, std::string_view request);
    void startTransfer(ctlZT& element, const clZone& zone, const clDNSRecord& soa, std::string_view request,
                       int type);
    void sendSlice(ctlZT& element);
    void frameRecord(const Bytes& prefix, const clDNSRecord& record, DateTime now);
    void send(ctlZT& element, std::string_view framed);
    void Timer1();
    void release(ctlZT& element);

    Network& m_network;
    Clock& m_clock;
    QueryHost& m_host;
    const RecordStore& m_store;
    DnsService& m_dns;
    RequestCounters& m_counters;
    const FloodGuard& m_flood;
    TimerId m_timer = 0;
    NotifyHandler m_notify;
    std::vector<std::unique_ptr<ctlZT>> m_TCPcon;
    Bytes m_message;             // the message being built, reused
    Bytes m_out;                 // framed messages gathered for one send
    DateTime m_lastFullLine = 0; // when the last "too many connections" line was written
};

} // namespace quorvane
