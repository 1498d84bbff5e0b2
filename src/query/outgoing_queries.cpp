#include "query/outgoing_queries.h"

#include "wire/message.h"

namespace quorvane {

OutgoingQueries::OutgoingQueries(Network& network)
    : m_ports(network),
      m_tcp(network, [this](const Endpoint& from, std::string_view message) { deliver(from, message, true); }),
      m_tls(network, [this](const Endpoint& from, std::string_view message) { deliver(from, message, true); })
{
}

// Each connection is either a TCP re-ask's or a TLS forwarder's; the other side ignores the id.
void OutgoingQueries::tcpConnected(SocketId connection)
{
    m_tcp.connected(connection);
    m_tls.connected(connection);
}

void OutgoingQueries::tcpData(SocketId connection, std::string_view bytes)
{
    m_tcp.data(connection, bytes);
    m_tls.data(connection, bytes);
}

void OutgoingQueries::tcpClosed(SocketId connection)
{
    m_tcp.closed(connection);
    m_tls.closed(connection);
}

bool OutgoingQueries::open(bool hardened)
{
    m_ids.setRandom(hardened);
    return m_ports.open(hardened);
}

int32_t OutgoingQueries::newQuery(QueryOwner& owner)
{
    int32_t id = m_ids.next();
    while (m_ids.random() && m_holders.contains(id))
        id = m_ids.next();
    m_holders[id] = {&owner, m_tick};
    return id;
}

void OutgoingQueries::forget(int32_t id, const QueryOwner& owner)
{
    const auto holder = m_holders.find(id);
    if (holder != m_holders.end() && holder->second.owner == &owner) m_holders.erase(holder);
}

void OutgoingQueries::deliver(const Endpoint& from, std::string_view message, bool viaTcp)
{
    if (message.size() < 12) return;
    const auto holder = m_holders.find(shortAt(message, 0));
    if (holder != m_holders.end() && holder->second.owner->takeAnswer(from, message, viaTcp)) return;
    if (m_unclaimed != nullptr) m_unclaimed->takeAnswer(from, message, viaTcp);
}

void OutgoingQueries::tick()
{
    ++m_tick;
    m_ports.tick();
    m_tcp.tick();
    m_tls.tick();
    std::erase_if(m_holders, [&](const auto& entry) { return m_tick - entry.second.since > kHoldTicks; });
}

void OutgoingQueries::closeAll()
{
    m_ports.closeAll();
    m_tcp.closeAll();
    m_tls.closeAll();
    m_holders.clear();
}

} // namespace quorvane
