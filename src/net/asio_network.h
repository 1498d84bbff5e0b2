// The real network: UDP, TCP and TLS sockets on the Asio loop, IPv4 only.
#pragma once

#include "net/asio_loop.h"
#include "net/network.h"

#include "net/bytes.h"

#include <map>
#include <memory>

namespace asio {
namespace ssl {
class context;
}
}

namespace quorvane {

class AsioNetwork : public Network {
public:
    explicit AsioNetwork(AsioLoop& loop);
    ~AsioNetwork() override;

    void setEvents(NetworkEvents* events) override { m_events = events; }
    SocketId bindUdp(const std::string& address, uint16_t port) override;
    SocketId bindDhcp(const std::string& address) override;
    SocketId listenTcp(const std::string& address, uint16_t port) override;
    SocketId connectTcp(const Endpoint& to) override;
    SocketId connectTls(const Endpoint& to, const std::string& verifyName, const std::string& caFile) override;
    SocketId listenTls(const std::string& address, uint16_t port, const std::string& certFile,
                       const std::string& keyFile, std::string& error) override;
    bool reloadTlsCertificate(SocketId listener, const std::string& certFile, const std::string& keyFile,
                              std::string& error) override;
    void sendTo(SocketId socket, const Endpoint& to, std::string_view data) override;
    void sendTcp(SocketId connection, std::string_view data) override;
    uint16_t localPort(SocketId socket) const override;
    void close(SocketId socket) override;
    std::vector<std::string> localAddresses() const override;

private:
    struct Udp;
    struct Listener;
    struct Connection;
    SocketId addUdp(std::unique_ptr<Udp> udp);
    void armRead(SocketId id, Udp& udp);
    void drainDatagrams(SocketId id, Udp& udp);
    void flushSends(Udp& udp);
    void armAccept(SocketId id, const std::shared_ptr<Listener>& listener);
    void armConnectionRead(SocketId id, const std::shared_ptr<Connection>& connection);
    void readConnection(SocketId id, Connection& connection);
    void flushConnection(SocketId id, const std::shared_ptr<Connection>& connection);
    // The connection is dropped; the user hears of it when the peer or the system ended it.
    void dropConnection(SocketId id, bool tellUser);
    bool isCurrent(SocketId id, const Connection* connection) const;
    uint16_t localTcpPort(SocketId socket) const;
    void closeTcp(SocketId socket);

    struct Tls;
    struct TlsState;
    struct TlsListener;
    void armTlsAccept(SocketId id, const std::shared_ptr<TlsListener>& listener);
    void startServerHandshake(SocketId listenerId, const std::shared_ptr<TlsListener>& listener,
                              const std::shared_ptr<Tls>& tls, const Endpoint& from);
    void closeTlsListener(SocketId socket);
    asio::ssl::context* clientContext(const std::string& caFile);
    bool isCurrentTls(SocketId id, const Tls* tls) const;
    void failTls(SocketId id, const std::string& reason);
    void readTls(SocketId id, const std::shared_ptr<Tls>& tls);
    void sendTls(SocketId id, Tls& tls, std::string_view data);
    void writeTls(SocketId id, const std::shared_ptr<Tls>& tls);
    void dropTls(SocketId id, bool tellUser);

    AsioLoop& m_loop;
    NetworkEvents* m_events = nullptr;
    SocketId m_nextId = 1;
    std::map<SocketId, std::unique_ptr<Udp>> m_udp;
    // Shared with the handlers of their pending waits, which may run after the socket was closed.
    std::map<SocketId, std::shared_ptr<Listener>> m_listeners;
    std::map<SocketId, std::shared_ptr<Connection>> m_connections;
    std::map<SocketId, std::shared_ptr<Tls>> m_tls;
    std::map<SocketId, std::shared_ptr<TlsListener>> m_tlsListeners;
    std::shared_ptr<TlsState> m_tlsState; // contexts and kept sessions, made on first use (shared: its
                                          // type is whole only in asio_tls.cpp)
    Bytes m_readBuffer; // one buffer for every connection's reads: handlers run one at a time
};

} // namespace quorvane
