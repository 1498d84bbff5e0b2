#include "query/tls_forwarders.h"

#include "wire/tcp_frame.h"

#include <algorithm>

namespace quorvane {

TlsForwarders::Link* TlsForwarders::find(SocketId connection)
{
    if (connection == kNoSocket) return nullptr;
    const auto it = std::find_if(m_links.begin(), m_links.end(), [&](const Link& l) { return l.connection == connection; });
    return it == m_links.end() ? nullptr : &*it;
}

TlsForwarders::Link* TlsForwarders::linkTo(const Endpoint& to, const std::string& name)
{
    for (Link& link : m_links)
        if (link.to == to && link.name == name) return &link;
    if (m_links.size() >= kMaxForwarders) return nullptr;
    Link& link = m_links.emplace_back();
    link.to = to;
    link.name = name;
    return &link;
}

void TlsForwarders::send(const Endpoint& to, const std::string& name, std::string_view message)
{
    Link* link = linkTo(to, name);
    if (link == nullptr || message.size() > 65535) return;
    if (link->connection == kNoSocket) {
        link->connection = m_network.connectTls(to, name, m_caFile);
        link->open = false;
        link->quiet = 0;
        if (link->connection == kNoSocket) return logFailure(*link, "no socket");
    }
    Bytes framed;
    appendFramed(framed, message);
    if (link->open) {
        link->quiet = 0;
        m_network.sendTcp(link->connection, framed);
    } else if (link->waiting.size() + framed.size() <= kMaxWaiting) {
        link->waiting += framed;
    }
}

void TlsForwarders::connected(SocketId connection)
{
    Link* link = find(connection);
    if (link == nullptr) return;
    link->open = true;
    link->quiet = 0;
    if (!link->waiting.empty()) m_network.sendTcp(connection, link->waiting);
    link->waiting.clear();
}

// Answers are handed on one by one as each is whole; the next one's first bytes wait for the rest.
void TlsForwarders::data(SocketId connection, std::string_view bytes)
{
    Link* link = find(connection);
    if (link == nullptr) return;
    link->quiet = 0;
    link->received.append(bytes);
    const Endpoint from = link->to;
    size_t taken = 0;
    std::vector<Bytes> answers;
    while (const auto framed = nextFramed(link->received, taken)) answers.emplace_back(*framed);
    link->received.erase(0, taken); // what is left is less than one whole answer: bounded
    for (const Bytes& answer : answers) m_deliver(from, answer); // may send more, even on this link
}

void TlsForwarders::failed(SocketId connection, std::string_view reason)
{
    if (Link* link = find(connection)) logFailure(*link, reason);
}

void TlsForwarders::logFailure(Link& link, std::string_view reason)
{
    if (m_tick - link.loggedAt < kLogTicks) return;
    link.loggedAt = m_tick;
    if (m_log)
        m_log("TLS connection to " + addressText(link.to.address) + " (" + link.name + ") failed: " + std::string(reason));
}

// The questions still on the connection are lost with it; their askers move on when their wait ends.
void TlsForwarders::closed(SocketId connection)
{
    if (Link* link = find(connection)) {
        if (!link->open) logFailure(*link, "closed before the handshake");
        link->connection = kNoSocket;
        drop(*link);
    }
}

void TlsForwarders::drop(Link& link)
{
    if (link.connection != kNoSocket) m_network.close(link.connection);
    link.connection = kNoSocket;
    link.open = false;
    link.waiting.clear();
    link.received.clear();
}

void TlsForwarders::tick()
{
    ++m_tick;
    for (Link& link : m_links) {
        if (link.connection == kNoSocket) continue;
        ++link.quiet;
        if (!link.open && link.quiet >= kConnectTicks) {
            logFailure(link, "no handshake within " + std::to_string(kConnectTicks) + " s");
            drop(link);
        } else if (link.quiet >= kIdleTicks) {
            drop(link);
        }
    }
}

void TlsForwarders::closeAll()
{
    for (Link& link : m_links) drop(link);
}

} // namespace quorvane
