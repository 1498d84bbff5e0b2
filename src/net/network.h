// The engine's only door to sockets: UDP datagrams, listening TCP sockets and their connections,
// outgoing TCP connections, outgoing TLS connections, all by handle.
// No Asio here: the production version is AsioNetwork (asio_network.h); tests use a fake.
#pragma once

#include "net/bytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

using SocketId = int;
constexpr SocketId kNoSocket = 0;

// An IPv4 address (host byte order) and port. Kept as numbers so the hot path never formats text.
struct Endpoint {
    uint32_t address = 0;
    uint16_t port = 0;
    bool operator==(const Endpoint&) const = default;
};

// Dotted-decimal text of an address in host byte order ("192.168.0.1").
std::string addressText(uint32_t address);
// The address of strict dotted-decimal text: four numbers 0-255, nothing else.
std::optional<uint32_t> addressFromText(std::string_view text);

// What the network tells its user. Calls arrive on the loop's thread, one at a time.
class NetworkEvents {
public:
    virtual ~NetworkEvents() = default;
    virtual void onDatagram(SocketId socket, const Endpoint& from, std::string_view data) = 0;
    // A connection came in on a listening socket; the new connection has its own id.
    virtual void onTcpAccepted(SocketId listener, SocketId connection, const Endpoint& from) = 0;
    // An outgoing connection is established; one that fails is reported by onTcpClosed instead.
    virtual void onTcpConnected(SocketId connection) = 0;
    // Bytes arrived on a connection, as the system delivered them (no message boundaries).
    virtual void onTcpData(SocketId connection, std::string_view data) = 0;
    // Everything queued with sendTcp has gone to the system: a sender of much data may queue more.
    // Never called from inside sendTcp.
    virtual void onTcpDrained(SocketId connection) = 0;
    // The peer closed the connection or it failed; the id is gone and must not be closed again.
    virtual void onTcpClosed(SocketId connection) = 0;
    // An outgoing TLS connection could not be made or its peer's certificate was refused; why, in
    // words. onTcpClosed follows.
    virtual void onTlsFailed(SocketId /*connection*/, std::string_view /*reason*/) {}
};

class Network {
public:
    virtual ~Network() = default;
    virtual void setEvents(NetworkEvents* events) = 0;
    // Binds a UDP socket to address:port; an empty address means all interfaces, port 0 any free port.
    // Returns kNoSocket when the address or port cannot be bound.
    virtual SocketId bindUdp(const std::string& address, uint16_t port) = 0;
    // The DHCP server's socket for the interface that holds address: UDP port 67, receiving the
    // interface's broadcasts too, and allowed to broadcast its replies. kNoSocket when no interface
    // holds the address or the port cannot be bound.
    virtual SocketId bindDhcp(const std::string& address) = 0;
    // Binds and listens on a TCP socket; kNoSocket on failure.
    virtual SocketId listenTcp(const std::string& address, uint16_t port) = 0;
    // Listens for TLS connections, presenting the certificate chain in certFile with the key in
    // keyFile. A connection is reported by onTcpAccepted once its handshake is done; one that fails
    // the handshake is dropped unheard. kNoSocket, with error saying why, when the files cannot be
    // loaded or the port bound.
    virtual SocketId listenTls(const std::string& address, uint16_t port, const std::string& certFile,
                               const std::string& keyFile, std::string& error) = 0;
    // Loads a TLS listener's certificate and key again, for the connections that follow. False, with
    // error saying why, when they cannot be loaded: the listener keeps the ones it had.
    virtual bool reloadTlsCertificate(SocketId listener, const std::string& certFile, const std::string& keyFile,
                                      std::string& error) = 0;
    // Starts a connection to a peer from any local address; onTcpConnected or onTcpClosed follows,
    // never from inside this call. kNoSocket when no socket could be made.
    virtual SocketId connectTcp(const Endpoint& to) = 0;
    // Starts a TLS connection to a peer whose certificate must be valid for verifyName under caFile
    // (empty: the system's certificate store). onTcpConnected follows the handshake; a failure is
    // told by onTlsFailed, then onTcpClosed. Data sent and received are the clear text, as over TCP.
    virtual SocketId connectTls(const Endpoint& to, const std::string& verifyName, const std::string& caFile) = 0;
    // Sends one datagram from a bound UDP socket. Send errors are ignored.
    virtual void sendTo(SocketId socket, const Endpoint& to, std::string_view data) = 0;
    // Queues bytes on a connection. Everything queued while one event is handled leaves in one
    // system call where the system takes it; the rest follows as the peer reads.
    virtual void sendTcp(SocketId connection, std::string_view data) = 0;
    // The local port a socket is bound to (0 for an unknown socket).
    virtual uint16_t localPort(SocketId socket) const = 0;
    // Closes any socket or connection; unknown ids are ignored.
    virtual void close(SocketId socket) = 0;
    // The machine's own IPv4 addresses in dotted text, in interface order.
    virtual std::vector<std::string> localAddresses() const = 0;
};

} // namespace quorvane
