// Who handles the events of each socket. Every owner of sockets (the DNS port, the outgoing
// queries, the secondary zones, DHCP, the TCP service, the reload port) gets a network of its own
// from add(): every socket made through it is recorded with that owner's handlers, and a
// connection accepted on a listener goes to the listener's owner. The routes are the real
// network's one listener and hand each event to the handler registered for its socket, so nobody
// switches on owners.
#pragma once

#include "net/network.h"

#include <functional>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quorvane {

// The handlers of one owner; the ones it has no sockets for may stay empty.
struct SocketRoute {
    std::function<void(SocketId socket, const Endpoint& from, std::string_view data)> datagram;
    std::function<void(SocketId connection, const Endpoint& from)> accepted;
    std::function<void(SocketId connection)> connected;
    std::function<void(SocketId connection, std::string_view data)> data;
    std::function<void(SocketId connection)> drained;
    std::function<void(SocketId connection)> closed;
    std::function<void(SocketId connection, std::string_view reason)> tlsFailed;
};

class SocketRoutes : public NetworkEvents {
public:
    explicit SocketRoutes(Network& network);
    ~SocketRoutes() override;
    SocketRoutes(const SocketRoutes&) = delete;
    SocketRoutes& operator=(const SocketRoutes&) = delete;

    // The network through which one owner makes its sockets; it lives as long as the routes.
    Network& add(SocketRoute route);

    void onDatagram(SocketId socket, const Endpoint& from, std::string_view data) override;
    void onTcpAccepted(SocketId listener, SocketId connection, const Endpoint& from) override;
    void onTcpConnected(SocketId connection) override;
    void onTcpData(SocketId connection, std::string_view data) override;
    void onTcpDrained(SocketId connection) override;
    void onTcpClosed(SocketId connection) override;
    void onTlsFailed(SocketId connection, std::string_view reason) override;

private:
    class OwnedNetwork;
    const SocketRoute* routeOf(SocketId socket) const;

    Network& m_network;
    std::vector<std::unique_ptr<OwnedNetwork>> m_owners;
    std::unordered_map<SocketId, const SocketRoute*> m_routes;
};

} // namespace quorvane
