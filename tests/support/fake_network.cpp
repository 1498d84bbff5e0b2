#include "support/fake_network.h"

#include <algorithm>
#include <stdexcept>

namespace quorvane::test {

SocketId FakeNetwork::bind(bool tcp, const std::string& address, uint16_t port)
{
    if (throwOnBind && port != 0) throw std::runtime_error("socket table corrupted");
    if (m_taken.count(port) != 0 || findOpen(tcp, port) != kNoSocket) return kNoSocket;
    const bool known = std::find(addresses.begin(), addresses.end(), address) != addresses.end();
    if (!address.empty() && address != "127.0.0.1" && !known) return kNoSocket;
    const SocketId id = m_nextId++;
    m_open.emplace(id, Bound{tcp, address, port == 0 ? static_cast<uint16_t>(40000 + id) : port});
    return id;
}

SocketId FakeNetwork::connectTls(const Endpoint& to, const std::string& verifyName, const std::string&)
{
    const SocketId id = connectTcp(to);
    tlsNames.emplace(id, verifyName);
    return id;
}

SocketId FakeNetwork::listenTls(const std::string& address, uint16_t port, const std::string&, const std::string&,
                                std::string& error)
{
    error = certificateError;
    const SocketId id = error.empty() ? listenTcp(address, port) : kNoSocket;
    if (id != kNoSocket) ++certificateLoads[id];
    return id;
}

bool FakeNetwork::reloadTlsCertificate(SocketId listener, const std::string&, const std::string&, std::string& error)
{
    error = certificateError;
    if (error.empty()) ++certificateLoads[listener];
    return error.empty();
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

} // namespace quorvane::test
