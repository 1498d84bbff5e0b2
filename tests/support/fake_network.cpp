#include "support/fake_network.h"

#include <stdexcept>

namespace quorvane::test {

SocketId FakeNetwork::bind(bool tcp, const std::string& address, uint16_t port)
{
    if (throwOnBind && port != 0) throw std::runtime_error("socket table corrupted");
    if (m_taken.count(port) != 0 || findOpen(tcp, port) != kNoSocket) return kNoSocket;
    if (!address.empty() && address != "127.0.0.1") {
        bool known = false;
        for (const auto& own : addresses) known = known || own == address;
        if (!known) return kNoSocket;
    }
    const SocketId id = m_nextId++;
    m_open.emplace(id, Bound{tcp, address, port == 0 ? static_cast<uint16_t>(40000 + id) : port});
    return id;
}

void FakeNetwork::sendTo(SocketId socket, const Endpoint& to, std::string_view data)
{
    if (isOpen(socket)) sent.push_back({socket, to, Bytes(data)});
}

void FakeNetwork::sendTcp(SocketId connection, std::string_view data)
{
    if (isOpen(connection)) tcpSent[connection] += data;
}

void FakeNetwork::deliverTcp(SocketId connection, std::string_view data)
{
    if (m_events && isOpen(connection)) m_events->onTcpData(connection, data);
}

void FakeNetwork::drain(SocketId connection)
{
    if (m_events && isOpen(connection)) m_events->onTcpDrained(connection);
}

void FakeNetwork::peerClose(SocketId connection)
{
    if (m_open.erase(connection) != 0 && m_events) m_events->onTcpClosed(connection);
}

SocketId FakeNetwork::connectTcp(const Endpoint& to)
{
    const SocketId id = m_nextId++;
    m_open.emplace(id, Bound{true, "", 0});
    connects.emplace(id, to);
    return id;
}

SocketId FakeNetwork::connectTls(const Endpoint& to, const std::string& verifyName, const std::string&)
{
    const SocketId id = connectTcp(to);
    tlsNames.emplace(id, verifyName);
    return id;
}

SocketId FakeNetwork::listenTls(const std::string& address, uint16_t port, const std::string& certFile,
                                const std::string& keyFile, std::string& error)
{
    error = certificateError;
    if (!error.empty()) return kNoSocket;
    const SocketId id = listenTcp(address, port);
    if (id != kNoSocket) reloadTlsCertificate(id, certFile, keyFile, error);
    return id;
}

bool FakeNetwork::reloadTlsCertificate(SocketId listener, const std::string&, const std::string&, std::string& error)
{
    error = certificateError;
    if (!error.empty()) return false;
    ++certificateLoads[listener];
    return true;
}

void FakeNetwork::accept(SocketId connection)
{
    if (m_events && isOpen(connection)) m_events->onTcpConnected(connection);
}

uint16_t FakeNetwork::localPort(SocketId socket) const
{
    const auto it = m_open.find(socket);
    return it == m_open.end() ? 0 : it->second.port;
}

SocketId FakeNetwork::findOpen(bool tcp, uint16_t port) const
{
    for (const auto& [id, bound] : m_open)
        if (bound.tcp == tcp && bound.port == port) return id;
    return kNoSocket;
}

void FakeNetwork::deliver(SocketId socket, const Endpoint& from, std::string_view data)
{
    if (m_events && isOpen(socket)) m_events->onDatagram(socket, from, data);
}

SocketId FakeNetwork::connect(SocketId listener, const Endpoint& from)
{
    const SocketId id = m_nextId++;
    m_open.emplace(id, Bound{true, "", 0});
    if (m_events) m_events->onTcpAccepted(listener, id, from);
    return id;
}

} // namespace quorvane::test
