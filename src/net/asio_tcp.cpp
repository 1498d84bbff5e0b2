// TCP on the Asio loop: listeners hand over each accepted connection, outgoing connections report
// when they stand; a connection reads whatever
// has arrived after one readiness wait, and writes everything queued during an event in one system
// call, waiting for room only when the system cannot take it all.
#include "net/asio_network.h"

#include "net/asio_impl.h"

#include <cerrno>
#include <sys/socket.h>

namespace quorvane {

namespace {

constexpr size_t kReadSize = 65536;
constexpr int kReadsPerWake = 4; // a fast sender cannot hold the loop; the next wake reads on
// An accept that fails for want of descriptors would fail again at once: the listener rests first.
constexpr auto kAcceptRest = std::chrono::milliseconds(100);

} // namespace

struct AsioNetwork::Listener
{
    explicit Listener(asio::io_context& io) : acceptor(io), rest(io) {}
    asio::ip::tcp::acceptor acceptor;
    asio::steady_timer rest;
};

struct AsioNetwork::Connection
{
    explicit Connection(asio::ip::tcp::socket s) : socket(std::move(s)) {}
    asio::ip::tcp::socket socket;
    Bytes out; // queued and not yet taken by the system, from outDone on
    size_t outDone = 0;
    bool flushing = false; // a flush is posted or waits for room
    bool peerDone = false; // the peer has sent all it will: closed once what is queued is out
};

SocketId AsioNetwork::listenTcp(const std::string& address, uint16_t port)
{
    std::error_code ec;
    const auto ip = address.empty() ? asio::ip::address_v4::any() : asio::ip::make_address_v4(address, ec);
    if (ec) return kNoSocket;
    auto listener = std::make_shared<Listener>(m_loop.impl().io);
    auto& acceptor = listener->acceptor;
    acceptor.open(asio::ip::tcp::v4(), ec);
    if (!ec) acceptor.set_option(asio::socket_base::reuse_address(true), ec);
    if (!ec) acceptor.bind({ip, port}, ec);
    if (!ec) acceptor.listen(asio::socket_base::max_listen_connections, ec);
    if (ec) return kNoSocket;
    const SocketId id = m_nextId++;
    m_listeners.emplace(id, listener);
    armAccept(id, listener);
    return id;
}

void AsioNetwork::armAccept(SocketId id, const std::shared_ptr<Listener>& listener)
{
    listener->acceptor.async_accept([this, id, listener](std::error_code ec, asio::ip::tcp::socket socket) {
        if (ec == asio::error::operation_aborted || m_listeners.count(id) == 0) return;
        if (ec == asio::error::no_descriptors || ec == asio::error::no_buffer_space) {
            listener->rest.expires_after(kAcceptRest);
            listener->rest.async_wait([this, id, listener](std::error_code waitError) {
                if (!waitError && m_listeners.count(id) != 0) armAccept(id, listener);
            });
            return;
        }
        if (!ec) {
            std::error_code peerError;
            const auto peer = socket.remote_endpoint(peerError);
            socket.non_blocking(true, peerError);
            const Endpoint from{peerError ? 0 : peer.address().to_v4().to_uint(),
                                peerError ? uint16_t{0} : peer.port()};
            const SocketId connectionId = m_nextId++;
            auto connection = std::make_shared<Connection>(std::move(socket));
            m_connections.emplace(connectionId, connection);
            armConnectionRead(connectionId, connection);
            if (m_events) m_events->onTcpAccepted(id, connectionId, from);
        }
        if (m_listeners.count(id) != 0) armAccept(id, listener);
    });
}

SocketId AsioNetwork::connectTcp(const Endpoint& to)
{
    std::error_code ec;
    asio::ip::tcp::socket socket(m_loop.impl().io);
    socket.open(asio::ip::tcp::v4(), ec);
    if (ec) return kNoSocket;
    const SocketId id = m_nextId++;
    auto connection = std::make_shared<Connection>(std::move(socket));
    m_connections.emplace(id, connection);
    const asio::ip::tcp::endpoint peer(asio::ip::address_v4(to.address), to.port);
    connection->socket.async_connect(peer, [this, id, connection](std::error_code connectError) {
        if (connectError == asio::error::operation_aborted || !isCurrent(id, connection.get())) return;
        if (connectError) return dropConnection(id, true);
        std::error_code ignored;
        connection->socket.non_blocking(true, ignored);
        armConnectionRead(id, connection);
        if (m_events) m_events->onTcpConnected(id);
    });
    return id;
}

bool AsioNetwork::isCurrent(SocketId id, const Connection* connection) const
{
    const auto it = m_connections.find(id);
    return it != m_connections.end() && it->second.get() == connection;
}

void AsioNetwork::armConnectionRead(SocketId id, const std::shared_ptr<Connection>& connection)
{
    connection->socket.async_wait(asio::socket_base::wait_read, [this, id, connection](std::error_code ec) {
        if (ec == asio::error::operation_aborted || !isCurrent(id, connection.get())) return;
        if (ec) return dropConnection(id, true);
        readConnection(id, *connection);
        if (isCurrent(id, connection.get()) && !connection->peerDone) armConnectionRead(id, connection);
    });
}

void AsioNetwork::readConnection(SocketId id, Connection& connection)
{
    m_readBuffer.resize(kReadSize);
    for (int round = 0; round < kReadsPerWake; ++round) {
        const ssize_t received =
            ::recv(connection.socket.native_handle(), m_readBuffer.data(), kReadSize, MSG_DONTWAIT);
        if (received < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) return;
        // A peer that closes its side after its question still gets the answer queued for it.
        if (received == 0 && connection.flushing) {
            connection.peerDone = true;
            return;
        }
        if (received <= 0) return dropConnection(id, true); // closed by the peer, or failed
        if (m_events)
            m_events->onTcpData(id, std::string_view(m_readBuffer.data(), static_cast<size_t>(received)));
        if (!isCurrent(id, &connection)) return; // the handler closed it
        if (static_cast<size_t>(received) < kReadSize) return;
    }
}

void AsioNetwork::sendTcp(SocketId connection, std::string_view data)
{
    if (const auto tls = m_tls.find(connection); tls != m_tls.end()) return sendTls(connection, *tls->second, data);
    const auto it = m_connections.find(connection);
    if (it == m_connections.end() || data.empty()) return;
    const std::shared_ptr<Connection>& c = it->second;
    c->out.append(data);
    if (c->flushing) return;
    // Posted, not written here: whatever else this event queues leaves in the same system call,
    // and the drained report never reaches a sender that is still inside sendTcp.
    c->flushing = true;
    asio::post(m_loop.impl().io, [this, connection, c] { flushConnection(connection, c); });
}

void AsioNetwork::flushConnection(SocketId id, const std::shared_ptr<Connection>& connection)
{
    if (!isCurrent(id, connection.get())) return;
    Connection& c = *connection;
    while (c.outDone < c.out.size()) {
        const ssize_t sent = ::send(c.socket.native_handle(), c.out.data() + c.outDone,
                                    c.out.size() - c.outDone, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0) {
            c.outDone += static_cast<size_t>(sent);
            continue;
        }
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            c.socket.async_wait(asio::socket_base::wait_write, [this, id, connection](std::error_code ec) {
                if (ec == asio::error::operation_aborted || !isCurrent(id, connection.get())) return;
                if (ec) return dropConnection(id, true);
                flushConnection(id, connection);
            });
            return;
        }
        return dropConnection(id, true);
    }
    c.out.clear();
    c.outDone = 0;
    if (c.out.capacity() > 4 * kReadSize) c.out.shrink_to_fit(); // an idle connection keeps little
    c.flushing = false;
    if (m_events) m_events->onTcpDrained(id);
    if (c.peerDone && !c.flushing && isCurrent(id, &c)) dropConnection(id, true);
}

void AsioNetwork::dropConnection(SocketId id, bool tellUser)
{
    const auto it = m_connections.find(id);
    if (it == m_connections.end()) return;
    // Closed here, not when the last handler lets go of it, so the descriptor is free at once.
    std::error_code ec;
    it->second->socket.close(ec);
    m_connections.erase(it);
    if (tellUser && m_events) m_events->onTcpClosed(id);
}

uint16_t AsioNetwork::localTcpPort(SocketId socket) const
{
    std::error_code ec;
    const auto it = m_listeners.find(socket);
    return it == m_listeners.end() ? 0 : it->second->acceptor.local_endpoint(ec).port();
}

void AsioNetwork::closeTcp(SocketId socket)
{
    // Erasing closes the socket, which cancels its pending waits; their handlers see
    // operation_aborted, or find the id gone, and touch nothing.
    if (const auto it = m_listeners.find(socket); it != m_listeners.end()) {
        std::error_code ec;
        it->second->acceptor.close(ec);
        it->second->rest.cancel();
        m_listeners.erase(it);
    }
    dropConnection(socket, false);
    dropTls(socket, false);
    closeTlsListener(socket);
}

} // namespace quorvane
