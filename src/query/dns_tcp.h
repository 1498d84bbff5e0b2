// DNS over TCP port 53, for every kind of message: one ctlZT per connection in the pool TCPcon,
// messages framed with their 2-byte length, at most kMaxConnections at once, each closed after
// kIdleSeconds without traffic. Each whole message goes to its handler: an ordinary question to
// the answerer (when it answers TCP), everything else (SOA, transfers, NOTIFY, other opcodes)
// to the zone replication behind TcpMessages. While a handler holds a connection (a transfer
// going out in slices), later messages wait in its buffer.
#pragma once

#include "net/clock.h"
#include "net/network.h"
#include "query/flood_guard.h"
#include "query/query_host.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quorvane {

class Answerer;

// One connection of the service. An element is Free (Busy false) or Serving; elements are reused,
// never removed.
struct ctlZT
{
    bool Busy = false;
    bool held = false;     // a handler is still sending on it: later messages wait
    Bytes buffer;          // received and not yet taken as whole messages
    int16_t idleTicks = 0; // seconds without data in or out
    std::string remote;    // the peer's dotted address, for the log
    Endpoint peer;
    SocketId Winsock = kNoSocket;
    bool overTls = false;  // came in on port 853: questions are answered without TCPQUERIES
};

// What the zone replication does with the messages that are not ordinary questions.
class TcpMessages
{
public:
    virtual ~TcpMessages() = default;
    virtual void takeMessage(const ctlZT& connection, std::string_view message) = 0;
    // Everything sent on the connection has gone out: a held connection may send its next slice.
    virtual void drained(const ctlZT& connection) = 0;
    // The connection is gone (closed by the peer, idle, or cut off).
    virtual void closed(SocketId connection) = 0;
};

class DnsTcpService
{
public:
    // Connections served at once, one descriptor each. Debian's default limit is 1024 descriptors
    // per process (ulimit -n); the running server holds 14 of its own (measured in /proc/PID/fd:
    // its sockets, the log and standard streams), so 256 keeps three quarters of the limit free for
    // files, the DHCP sockets and the connections to primaries, while a small network needs a few.
    static constexpr size_t kMaxConnections = 256;
    // Idle seconds after which a connection is closed.
    static constexpr int kIdleSeconds = 10;

    DnsTcpService(Network& network, Clock& clock, QueryHost& host, Answerer& answerer, const FloodGuard& flood);
    ~DnsTcpService();
    DnsTcpService(const DnsTcpService&) = delete;
    DnsTcpService& operator=(const DnsTcpService&) = delete;

    void setMessages(TcpMessages* messages) { m_messages = messages; }

    // A connection accepted on WSZT, or on the DNS-over-TLS listener (overTls); running is the
    // server's state.
    void connectionRequest(SocketId connection, const Endpoint& from, bool running, bool overTls = false);
    void DataArrival(SocketId connection, std::string_view data);
    void drained(SocketId connection);
    void peerClosed(SocketId connection);
    void closeAll();

    // One message, framed, on a connection; nothing when it has gone meanwhile.
    void send(SocketId connection, std::string_view message);
    // Messages already framed (a slice of a transfer).
    void sendFramed(SocketId connection, std::string_view framed);
    // While held, whole messages wait in the buffer; released, they are taken at once.
    void hold(SocketId connection, bool held);
    // Closes a connection (a transfer that cannot go on).
    void close(SocketId connection);

    const std::vector<std::unique_ptr<ctlZT>>& TCPcon() const { return m_TCPcon; }

private:
    ctlZT* find(SocketId connection);
    void Accept(ctlZT& element, SocketId connection, const Endpoint& from, bool overTls);
    void takeMessages(ctlZT& element);
    void Timer1();
    void release(ctlZT& element);

    Network& m_network;
    Clock& m_clock;
    QueryHost& m_host;
    Answerer& m_answerer;
    const FloodGuard& m_flood;
    TcpMessages* m_messages = nullptr;
    TimerId m_timer = 0;
    std::vector<std::unique_ptr<ctlZT>> m_TCPcon;
    std::unordered_map<SocketId, ctlZT*> m_byConnection; // the Serving elements
    Bytes m_out;                                         // a framed message being sent, reused
    DateTime m_lastFullLine = 0; // when the last "too many connections" line was written
};

} // namespace quorvane
