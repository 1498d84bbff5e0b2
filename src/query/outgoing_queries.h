// Everything this server asks other servers leaves through here: resolution's questions, the SOA
// checks of secondary zones and NOTIFY. The service owns the identifiers (a counter, or random
// when hardened), the sockets the queries leave from (QueryPorts), the questions asked again
// over TCP (TcpAsks), the connections to forwarders over TLS (TlsForwarders), and the table from identifier to the owner waiting for its answer, so that
// each answer goes straight to whoever asked.
#pragma once

#include "net/network.h"
#include "query/query_id.h"
#include "query/query_ports.h"
#include "query/tcp_asks.h"
#include "query/tls_forwarders.h"

#include <cstdint>
#include <string_view>
#include <unordered_map>

namespace quorvane {

// Whoever sends queries through OutgoingQueries and waits for their answers.
class QueryOwner
{
public:
    virtual ~QueryOwner() = default;
    // An answer that carries one of the owner's identifiers (viaTcp: the answer to a question
    // asked again over TCP). False when the owner does not take it after all (a wrong sender, a
    // question it did not ask): it then goes where answers nobody waits for go.
    virtual bool takeAnswer(const Endpoint& from, std::string_view message, bool viaTcp) = 0;
};

class OutgoingQueries
{
public:
    // An identifier stays with its owner at most this many ticks unless taken back sooner; an
    // answer later than that is nobody's.
    static constexpr int kHoldTicks = 60;

    explicit OutgoingQueries(Network& network);

    // Binds the sockets of the mode (WSDNS2, or the hardened pool) and picks the identifier source.
    // False when no socket could be bound.
    bool open(bool hardened);
    bool hardened() const { return m_ids.random(); }
    // Answers whose identifier no owner holds, or that their owner refused, go here.
    void setUnclaimed(QueryOwner* owner) { m_unclaimed = owner; }

    // A fresh identifier whose answers go to owner. Drawn at random, it is drawn again while
    // another query holds it; counted, it simply takes the identifier over.
    int32_t newQuery(QueryOwner& owner);
    // An identifier for a message whose answer comes back another way (a transfer over TCP).
    int32_t newId() { return m_ids.next(); }
    // The owner stops waiting for that identifier.
    void forget(int32_t id, const QueryOwner& owner);
    void send(const Endpoint& to, std::string_view message) { m_ports.send(to, message); }
    // Asks a server again over TCP; the answer comes back with viaTcp set. False when that cannot
    // start (too many under way, no socket).
    bool askOverTcp(const Endpoint& to, std::string_view message) { return m_tcp.ask(to, message); }

    // Sends to a forwarder over TLS (its TLS port); the answer comes back with viaTcp set, from to.
    void sendTls(const Endpoint& to, const std::string& name, std::string_view message)
    {
        m_tls.send(to, name, message);
    }
    TlsForwarders& tls() { return m_tls; }

    // Socket events of the service's own sockets and connections.
    void datagram(const Endpoint& from, std::string_view message) { deliver(from, message, false); }
    void tcpConnected(SocketId connection);
    void tcpData(SocketId connection, std::string_view bytes);
    void tcpClosed(SocketId connection);
    void tlsFailed(SocketId connection, std::string_view reason) { m_tls.failed(connection, reason); }

    // The one-second tick: ports rotate, TCP asks and held identifiers age.
    void tick();
    void closeAll();

private:
    struct Holder
    {
        QueryOwner* owner = nullptr;
        int64_t since = 0; // the tick it was taken on
    };
    void deliver(const Endpoint& from, std::string_view message, bool viaTcp);

    QueryIdCounter m_ids;
    QueryPorts m_ports;
    TcpAsks m_tcp;
    TlsForwarders m_tls;
    std::unordered_map<int32_t, Holder> m_holders;
    QueryOwner* m_unclaimed = nullptr;
    int64_t m_tick = 0;
};

} // namespace quorvane
