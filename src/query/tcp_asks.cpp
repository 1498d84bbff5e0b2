#include "query/tcp_asks.h"

#include "wire/tcp_frame.h"

#include <algorithm>

namespace quorvane {

bool TcpAsks::ask(const Endpoint& server, std::string_view query)
{
    if (m_asks.size() >= kMaxAsks || query.size() > 65535) return false;
    const SocketId connection = m_network.connectTcp(server);
    if (connection == kNoSocket) return false;
    Ask& ask = m_asks.emplace_back();
    ask.connection = connection;
    ask.server = server;
    appendFramed(ask.query, query);
    return true;
}

TcpAsks::Ask* TcpAsks::find(SocketId connection)
{
    const auto it = std::find_if(m_asks.begin(), m_asks.end(), [&](const Ask& a) { return a.connection == connection; });
    return it == m_asks.end() ? nullptr : &*it;
}

void TcpAsks::connected(SocketId connection)
{
    if (Ask* ask = find(connection)) m_network.sendTcp(connection, ask->query);
}

// The answer is the first framed message; whatever follows it is not ours to read.
void TcpAsks::data(SocketId connection, std::string_view bytes)
{
    Ask* ask = find(connection);
    if (ask == nullptr) return;
    ask->received.append(bytes.substr(0, 65537 - ask->received.size())); // one message at most
    size_t taken = 0;
    const auto framed = nextFramed(ask->received, taken);
    if (!framed) return;
    const Endpoint server = ask->server;
    const Bytes message(*framed);
    end(connection); // first, so that the answer's handling may ask again
    m_deliver(server, message);
}

void TcpAsks::closed(SocketId connection)
{
    end(connection);
}

void TcpAsks::tick()
{
    std::vector<SocketId> over;
    for (Ask& ask : m_asks)
        if (++ask.ticks >= kLifeTicks) over.push_back(ask.connection);
    for (const SocketId connection : over) end(connection);
}

void TcpAsks::end(SocketId connection)
{
    m_network.close(connection);
    std::erase_if(m_asks, [&](const Ask& a) { return a.connection == connection; });
}

void TcpAsks::closeAll()
{
    for (const Ask& ask : m_asks) m_network.close(ask.connection);
    m_asks.clear();
}

} // namespace quorvane
