// TLS listeners on the Asio loop: a connection is handed to the user only once its handshake is
// done. Handshakes under way are capped and each must end within kHandshakeTime, so clients that
// never finish one cannot hold descriptors.
#include "net/asio_tls_impl.h"

namespace quorvane {

namespace {

constexpr size_t kMaxHandshakes = 64;
constexpr auto kHandshakeTime = std::chrono::seconds(10);
constexpr auto kAcceptRest = std::chrono::milliseconds(100);

std::shared_ptr<asio::ssl::context> serverContext(const std::string& certFile, const std::string& keyFile,
                                                  std::string& error)
{
    auto context = std::make_shared<asio::ssl::context>(asio::ssl::context::tls_server);
    std::error_code ec;
    context->set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_sslv2 |
                             asio::ssl::context::no_sslv3 | asio::ssl::context::no_tlsv1 |
                             asio::ssl::context::no_tlsv1_1,
                         ec);
    context->use_certificate_chain_file(certFile, ec);
    if (ec) {
        error = "cannot load the certificate " + certFile + ": " + ec.message();
        return nullptr;
    }
    context->use_private_key_file(keyFile, asio::ssl::context::pem, ec);
    if (ec) {
        error = "cannot load the key " + keyFile + ": " + ec.message();
        return nullptr;
    }
    if (SSL_CTX_check_private_key(context->native_handle()) != 1) {
        error = "the key " + keyFile + " does not belong to the certificate " + certFile;
        return nullptr;
    }
    return context;
}

} // namespace

SocketId AsioNetwork::listenTls(const std::string& address, uint16_t port, const std::string& certFile,
                                const std::string& keyFile, std::string& error)
{
    auto listener = std::make_shared<TlsListener>(m_loop.impl().io);
    listener->context = serverContext(certFile, keyFile, error);
    if (!listener->context) return kNoSocket;
    std::error_code ec;
    const auto ip = address.empty() ? asio::ip::address_v4::any() : asio::ip::make_address_v4(address, ec);
    auto& acceptor = listener->acceptor;
    if (!ec) acceptor.open(asio::ip::tcp::v4(), ec);
    if (!ec) acceptor.set_option(asio::socket_base::reuse_address(true), ec);
    if (!ec) acceptor.bind({ip, port}, ec);
    if (!ec) acceptor.listen(asio::socket_base::max_listen_connections, ec);
    if (ec) {
        error = "cannot listen on port " + std::to_string(port) + ": " + ec.message();
        return kNoSocket;
    }
    const SocketId id = m_nextId++;
    m_tlsListeners.emplace(id, listener);
    armTlsAccept(id, listener);
    return id;
}

bool AsioNetwork::reloadTlsCertificate(SocketId listener, const std::string& certFile, const std::string& keyFile,
                                       std::string& error)
{
    const auto it = m_tlsListeners.find(listener);
    if (it == m_tlsListeners.end()) return false;
    auto context = serverContext(certFile, keyFile, error);
    if (!context) return false;
    it->second->context = std::move(context);
    return true;
}

void AsioNetwork::armTlsAccept(SocketId id, const std::shared_ptr<TlsListener>& listener)
{
    listener->acceptor.async_accept([this, id, listener](std::error_code ec, asio::ip::tcp::socket socket) {
        if (ec == asio::error::operation_aborted || m_tlsListeners.count(id) == 0) return;
        std::error_code peerError;
        const auto peer = ec ? decltype(socket.remote_endpoint()){} : socket.remote_endpoint(peerError);
        if (!ec && !peerError && listener->handshaking < kMaxHandshakes)
            startServerHandshake(id, listener, std::make_shared<Tls>(std::move(socket), listener->context),
                                 {peer.address().to_v4().to_uint(), peer.port()});
        if (!ec) return armTlsAccept(id, listener);
        listener->rest.expires_after(kAcceptRest);
        listener->rest.async_wait([this, id, listener](std::error_code waitError) {
            if (!waitError && m_tlsListeners.count(id) != 0) armTlsAccept(id, listener);
        });
    });
}

void AsioNetwork::startServerHandshake(SocketId listenerId, const std::shared_ptr<TlsListener>& listener,
                                       const std::shared_ptr<Tls>& tls, const Endpoint& from)
{
    const SocketId id = m_nextId++;
    m_tls.emplace(id, tls);
    ++listener->handshaking;
    tls->deadline->expires_after(kHandshakeTime);
    tls->deadline->async_wait([this, id, tls](std::error_code waitError) {
        if (!waitError && isCurrentTls(id, tls.get()) && !tls->open) dropTls(id, false);
    });
    tls->stream.async_handshake(asio::ssl::stream_base::server, [this, listenerId, listener, id, tls, from](std::error_code handshake) {
        --listener->handshaking;
        tls->deadline->cancel();
        if (!isCurrentTls(id, tls.get())) return;
        if (handshake || m_tlsListeners.count(listenerId) == 0) return dropTls(id, false);
        tls->open = true;
        if (m_events) m_events->onTcpAccepted(listenerId, id, from);
        if (isCurrentTls(id, tls.get())) readTls(id, tls);
    });
}

void AsioNetwork::closeTlsListener(SocketId socket)
{
    if (const auto it = m_tlsListeners.find(socket); it != m_tlsListeners.end()) {
        std::error_code ec;
        it->second->acceptor.close(ec);
        it->second->rest.cancel();
        m_tlsListeners.erase(it);
    }
}

} // namespace quorvane
