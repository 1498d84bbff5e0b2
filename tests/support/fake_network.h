// A network in memory: binds succeed unless a test has taken the port, sends are recorded,
// and tests deliver datagrams and connections by hand.
#pragma once

#include "net/network.h"

#include <map>
#include <set>

namespace quorvane::test {

class FakeNetwork : public Network {
public:
    struct Bound {
        bool tcp = false;
        std::string address;
        uint16_t port = 0;
    };
    struct Sent {
        SocketId socket;
        Endpoint to;
        Bytes data;
    };

    void setEvents(NetworkEvents* events) override { m_events = events; }
    SocketId bindUdp(const std::string& address, uint16_t port) override { return bind(false, address, port); }
    SocketId listenTcp(const std::string& address, uint16_t port) override { return bind(true, address, port); }
    // A listener like a TCP one, unless the test has set certificateError.
    SocketId listenTls(const std::string& address, uint16_t port, const std::string& certFile,
                       const std::string& keyFile, std::string& error) override;
    bool reloadTlsCertificate(SocketId listener, const std::string& certFile, const std::string& keyFile,
                              std::string& error) override;
    // A UDP socket on port 67 of an address the machine has.
    SocketId bindDhcp(const std::string& address) override { return address.empty() ? kNoSocket : bindUdp(address, 67); }
    SocketId connectTcp(const Endpoint& to) override
    {
        const SocketId id = newConnection();
        connects.emplace(id, to);
        return id;
    }
    // Like a TCP connection, which the test lets stand (accept) or closes.
    SocketId connectTls(const Endpoint& to, const std::string& verifyName, const std::string& caFile) override;
    void sendTo(SocketId socket, const Endpoint& to, std::string_view data) override
    {
        if (isOpen(socket)) sent.push_back({socket, to, Bytes(data)});
    }
    void sendTcp(SocketId connection, std::string_view data) override
    {
        if (isOpen(connection)) tcpSent[connection] += data;
    }
    uint16_t localPort(SocketId socket) const override;
    void close(SocketId socket) override { m_open.erase(socket); }
    std::vector<std::string> localAddresses() const override { return addresses; }

    // Makes later binds of this port (UDP and TCP, any address) fail, as if another program held it.
    void takePort(uint16_t port) { m_taken.insert(port); }
    void freePort(uint16_t port) { m_taken.erase(port); }
    // The open socket bound to this protocol and port, or kNoSocket.
    SocketId findOpen(bool tcp, uint16_t port) const;
    const std::map<SocketId, Bound>& open() const { return m_open; }

    void deliver(SocketId socket, const Endpoint& from, std::string_view data)
    {
        if (heard(socket)) m_events->onDatagram(socket, from, data);
    }
    // Simulates a client connecting to a listener; returns the connection's id.
    SocketId connect(SocketId listener, const Endpoint& from)
    {
        const SocketId id = newConnection();
        if (m_events) m_events->onTcpAccepted(listener, id, from);
        return id;
    }
    bool isOpen(SocketId socket) const { return m_open.count(socket) != 0; }
    // Bytes arriving on a connection; the peer reading all that was sent; the peer closing.
    void deliverTcp(SocketId connection, std::string_view data)
    {
        if (heard(connection)) m_events->onTcpData(connection, data);
    }
    void drain(SocketId connection)
    {
        if (heard(connection)) m_events->onTcpDrained(connection);
    }
    void peerClose(SocketId connection)
    {
        if (m_open.erase(connection) != 0 && m_events) m_events->onTcpClosed(connection);
    }
    // The outgoing connection a test lets stand.
    void accept(SocketId connection)
    {
        if (heard(connection)) m_events->onTcpConnected(connection);
    }

    std::vector<std::string> addresses{"192.168.1.10"};
    // Makes binds of a fixed port throw, to exercise the callers' error guards.
    bool throwOnBind = false;
    std::vector<Sent> sent;
    std::map<SocketId, Bytes> tcpSent; // everything sent on each connection, in order
    std::map<SocketId, Endpoint> connects; // every outgoing connection started, by id
    std::map<SocketId, std::string> tlsNames; // the name each TLS connection was to verify
    std::string certificateError;             // when set, certificates fail to load with this reason
    std::map<SocketId, int> certificateLoads; // how often each TLS listener loaded its certificate

private:
    SocketId bind(bool tcp, const std::string& address, uint16_t port);
    bool heard(SocketId socket) const { return m_events && isOpen(socket); }
    SocketId newConnection()
    {
        m_open.emplace(m_nextId, Bound{true, "", 0});
        return m_nextId++;
    }
    NetworkEvents* m_events = nullptr;
    std::map<SocketId, Bound> m_open;
    std::set<uint16_t> m_taken;
    SocketId m_nextId = 1;
};

} // namespace quorvane::test
