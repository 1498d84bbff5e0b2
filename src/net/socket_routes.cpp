#include "net/socket_routes.h"

namespace quorvane {

// The real network, with each socket it makes recorded under one route.
class SocketRoutes::OwnedNetwork : public Network {
public:
    OwnedNetwork(SocketRoutes& routes, SocketRoute route) : m_routes(routes), m_route(std::move(route)) {}

    void setEvents(NetworkEvents*) override {} // the routes are the real network's listener
    SocketId bindUdp(const std::string& address, uint16_t port) override
    {
        return recorded(m_routes.m_network.bindUdp(address, port));
    }
    SocketId bindDhcp(const std::string& address) override { return recorded(m_routes.m_network.bindDhcp(address)); }
    SocketId listenTcp(const std::string& address, uint16_t port) override
    {
        return recorded(m_routes.m_network.listenTcp(address, port));
    }
    SocketId listenTls(const std::string& address, uint16_t port, const std::string& certFile,
                       const std::string& keyFile, std::string& error) override
    {
        return recorded(m_routes.m_network.listenTls(address, port, certFile, keyFile, error));
    }
    bool reloadTlsCertificate(SocketId listener, const std::string& certFile, const std::string& keyFile,
                              std::string& error) override
    {
        return m_routes.m_network.reloadTlsCertificate(listener, certFile, keyFile, error);
    }
    SocketId connectTcp(const Endpoint& to) override { return recorded(m_routes.m_network.connectTcp(to)); }
    SocketId connectTls(const Endpoint& to, const std::string& verifyName, const std::string& caFile) override
    {
        return recorded(m_routes.m_network.connectTls(to, verifyName, caFile));
    }
    void sendTo(SocketId socket, const Endpoint& to, std::string_view data) override
    {
        m_routes.m_network.sendTo(socket, to, data);
    }
    void sendTcp(SocketId connection, std::string_view data) override { m_routes.m_network.sendTcp(connection, data); }
    uint16_t localPort(SocketId socket) const override { return m_routes.m_network.localPort(socket); }
    void close(SocketId socket) override
    {
        m_routes.m_routes.erase(socket);
        m_routes.m_network.close(socket);
    }
    std::vector<std::string> localAddresses() const override { return m_routes.m_network.localAddresses(); }

    const SocketRoute& route() const { return m_route; }

private:
    SocketId recorded(SocketId socket)
    {
        if (socket != kNoSocket) m_routes.m_routes[socket] = &m_route;
        return socket;
    }

    SocketRoutes& m_routes;
    SocketRoute m_route;
};

SocketRoutes::SocketRoutes(Network& network) : m_network(network)
{
    m_network.setEvents(this);
}

SocketRoutes::~SocketRoutes()
{
    m_network.setEvents(nullptr);
}

Network& SocketRoutes::add(SocketRoute route)
{
    return *m_owners.emplace_back(std::make_unique<OwnedNetwork>(*this, std::move(route)));
}

const SocketRoute* SocketRoutes::routeOf(SocketId socket) const
{
    const auto found = m_routes.find(socket);
    return found == m_routes.end() ? nullptr : found->second;
}

void SocketRoutes::onDatagram(SocketId socket, const Endpoint& from, std::string_view data)
{
    if (const SocketRoute* route = routeOf(socket); route != nullptr && route->datagram)
        route->datagram(socket, from, data);
}

// A connection belongs to the owner of the listener it came in on; one nobody listens for is closed.
void SocketRoutes::onTcpAccepted(SocketId listener, SocketId connection, const Endpoint& from)
{
    const SocketRoute* route = routeOf(listener);
    if (route == nullptr || !route->accepted) return m_network.close(connection);
    m_routes[connection] = route;
    route->accepted(connection, from);
}

void SocketRoutes::onTcpConnected(SocketId connection)
{
    if (const SocketRoute* route = routeOf(connection); route != nullptr && route->connected)
        route->connected(connection);
}

void SocketRoutes::onTcpData(SocketId connection, std::string_view data)
{
    if (const SocketRoute* route = routeOf(connection); route != nullptr && route->data) route->data(connection, data);
}

void SocketRoutes::onTcpDrained(SocketId connection)
{
    if (const SocketRoute* route = routeOf(connection); route != nullptr && route->drained)
        route->drained(connection);
}

void SocketRoutes::onTlsFailed(SocketId connection, std::string_view reason)
{
    if (const SocketRoute* route = routeOf(connection); route != nullptr && route->tlsFailed)
        route->tlsFailed(connection, reason);
}

// The id is gone with the connection: its route is forgotten after the owner has heard of it.
void SocketRoutes::onTcpClosed(SocketId connection)
{
    const SocketRoute* route = routeOf(connection);
    m_routes.erase(connection);
    if (route != nullptr && route->closed) route->closed(connection);
}

} // namespace quorvane
