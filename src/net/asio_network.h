// The real network: UDP and TCP sockets on the Asio loop, IPv4 only.
#pragma once

#include "net/asio_loop.h"
#include "net/network.h"

#include <map>
#include <memory>

namespace quorvane {

class AsioNetwork : public Network {
public:
    explicit AsioNetwork(AsioLoop& loop);
    ~AsioNetwork() override;

    void setEvents(NetworkEvents* events) override { m_events = events; }
    SocketId bindUdp(const std::string& address, uint16_t port) override;
    SocketId listenTcp(const std::string& address, uint16_t port) override;
    void sendTo(SocketId socket, const Endpoint& to, std::string_view data) override;
    uint16_t localPort(SocketId socket) const override;
    void close(SocketId socket) override;
    std::vector<std::string> localAddresses() const override;

private:
    struct Udp;
    struct Listener;
    struct Connection;
    void armRead(SocketId id, Udp& udp);
    void drainDatagrams(SocketId id, Udp& udp);
    void flushSends(Udp& udp);
    void armAccept(SocketId id, Listener& listener);

    AsioLoop& m_loop;
    NetworkEvents* m_events = nullptr;
    SocketId m_nextId = 1;
    std::map<SocketId, std::unique_ptr<Udp>> m_udp;
    std::map<SocketId, std::unique_ptr<Listener>> m_listeners;
    std::map<SocketId, std::unique_ptr<Connection>> m_connections;
};

} // namespace quorvane
