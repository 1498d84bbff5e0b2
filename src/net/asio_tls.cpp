// TLS connections on the Asio loop (OpenSSL through Asio's ssl stream): TCP, then the handshake
// with the peer's certificate checked against the name asked for, then clear text both ways as on
// a TCP connection. Sessions are kept per peer and name so that the next connection resumes.
#include "net/asio_network.h"

#include "net/asio_tls_impl.h"

#include <openssl/x509v3.h>

namespace quorvane {

namespace {

constexpr size_t kMaxSessions = 64;

// Why a handshake failed: the certificate check's own words when that was the cause.
std::string failureReason(const std::error_code& ec, SSL* ssl)
{
    const long verified = SSL_get_verify_result(ssl);
    if (verified != X509_V_OK) return X509_verify_cert_error_string(verified);
    return ec.message();
}

} // namespace

// One client context, made again when the authorities' file changes, and tried again while it
// cannot be read (the operator may fix the file in place); null meanwhile. Connections made with
// an earlier context keep it alive through OpenSSL's own reference.
asio::ssl::context* AsioNetwork::clientContext(const std::string& caFile)
{
    if (!m_tlsState) m_tlsState = std::make_shared<TlsState>();
    TlsState& state = *m_tlsState;
    if (state.client && state.clientCa == caFile && state.clientReady) return state.client.get();
    state.client = std::make_unique<asio::ssl::context>(asio::ssl::context::tls_client);
    state.clientCa = caFile;
    std::error_code ec;
    state.client->set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_sslv2 |
                                  asio::ssl::context::no_sslv3 | asio::ssl::context::no_tlsv1 |
                                  asio::ssl::context::no_tlsv1_1,
                              ec);
    if (caFile.empty()) state.client->set_default_verify_paths(ec);
    else state.client->load_verify_file(caFile, ec);
    state.client->set_verify_mode(asio::ssl::verify_peer, ec);
    state.clientReady = !ec;
    return state.clientReady ? state.client.get() : nullptr;
}

SocketId AsioNetwork::connectTls(const Endpoint& to, const std::string& verifyName, const std::string& caFile)
{
    const SocketId id = m_nextId++;
    asio::ssl::context* context = clientContext(caFile);
    if (context == nullptr) {
        const std::string reason = "cannot read the certificate authorities in " + (caFile.empty() ? "the system's store" : caFile);
        asio::post(m_loop.impl().io, [this, id, reason] {
            if (m_events) m_events->onTlsFailed(id, reason);
            if (m_events) m_events->onTcpClosed(id);
        });
        return id;
    }
    auto tls = std::make_shared<Tls>(m_loop.impl().io, *context);
    SSL* ssl = tls->stream.native_handle();
    SSL_set_tlsext_host_name(ssl, verifyName.c_str());
    SSL_set1_host(ssl, verifyName.c_str());
    tls->sessionKey = addressText(to.address) + ' ' + verifyName;
    if (const auto session = m_tlsState->sessions.find(tls->sessionKey); session != m_tlsState->sessions.end())
        SSL_set_session(ssl, session->second);
    m_tls.emplace(id, tls);
    const asio::ip::tcp::endpoint peer(asio::ip::address_v4(to.address), to.port);
    tls->stream.lowest_layer().async_connect(peer, [this, id, tls](std::error_code ec) {
        if (ec == asio::error::operation_aborted || !isCurrentTls(id, tls.get())) return;
        if (ec) return failTls(id, ec.message());
        tls->stream.async_handshake(asio::ssl::stream_base::client, [this, id, tls](std::error_code handshake) {
            if (handshake == asio::error::operation_aborted || !isCurrentTls(id, tls.get())) return;
            if (handshake) return failTls(id, failureReason(handshake, tls->stream.native_handle()));
            tls->open = true;
            if (m_events) m_events->onTcpConnected(id);
            if (!isCurrentTls(id, tls.get())) return;
            readTls(id, tls);
            if (!tls->out.empty() && !tls->writing) writeTls(id, tls);
        });
    });
    return id;
}

bool AsioNetwork::isCurrentTls(SocketId id, const Tls* tls) const
{
    const auto it = m_tls.find(id);
    return it != m_tls.end() && it->second.get() == tls;
}

void AsioNetwork::failTls(SocketId id, const std::string& reason)
{
    if (m_events) m_events->onTlsFailed(id, reason);
    dropTls(id, true);
}

void AsioNetwork::readTls(SocketId id, const std::shared_ptr<Tls>& tls)
{
    tls->stream.async_read_some(asio::buffer(tls->in), [this, id, tls](std::error_code ec, size_t received) {
        if (ec == asio::error::operation_aborted || !isCurrentTls(id, tls.get())) return;
        if (ec) return dropTls(id, true); // closed by the peer, or failed
        if (m_events) m_events->onTcpData(id, std::string_view(tls->in.data(), received));
        if (isCurrentTls(id, tls.get())) readTls(id, tls);
    });
}

// Everything queued while an event is handled leaves in one write; what is queued during that
// write leaves in the next.
void AsioNetwork::sendTls(SocketId id, Tls& tls, std::string_view data)
{
    tls.out.append(data);
    if (!tls.open || tls.writing) return;
    tls.writing = true;
    auto shared = m_tls.at(id);
    asio::post(m_loop.impl().io, [this, id, shared] { writeTls(id, shared); });
}

void AsioNetwork::writeTls(SocketId id, const std::shared_ptr<Tls>& tls)
{
    if (!isCurrentTls(id, tls.get())) return;
    if (tls->out.empty()) {
        tls->writing = false;
        if (m_events) m_events->onTcpDrained(id);
        return;
    }
    tls->writing = true;
    tls->sending.swap(tls->out);
    tls->out.clear();
    asio::async_write(tls->stream, asio::buffer(tls->sending), [this, id, tls](std::error_code ec, size_t) {
        if (ec == asio::error::operation_aborted || !isCurrentTls(id, tls.get())) return;
        if (ec) return dropTls(id, true);
        tls->sending.clear();
        writeTls(id, tls);
    });
}

// The session is kept for the next connection to the same peer and name, then the socket closed.
void AsioNetwork::dropTls(SocketId id, bool tellUser)
{
    const auto it = m_tls.find(id);
    if (it == m_tls.end()) return;
    Tls& tls = *it->second;
    if (tls.open && !tls.sessionKey.empty()) { // a connection we made
        auto& sessions = m_tlsState->sessions;
        if (SSL_SESSION* session = SSL_get1_session(tls.stream.native_handle())) {
            if (sessions.size() >= kMaxSessions && !sessions.contains(tls.sessionKey)) {
                for (auto& [key, old] : sessions) SSL_SESSION_free(old);
                sessions.clear();
            }
            auto& slot = sessions[tls.sessionKey];
            if (slot != nullptr) SSL_SESSION_free(slot);
            slot = session;
        }
    }
    std::error_code ec;
    tls.stream.lowest_layer().close(ec);
    m_tls.erase(it);
    if (tellUser && m_events) m_events->onTcpClosed(id);
}

} // namespace quorvane
