// Private to src/net: the TLS objects behind AsioNetwork, shared by its TLS connections
// (asio_tls.cpp) and its TLS listeners (asio_tls_listen.cpp).
#pragma once

#include "net/asio_network.h"

#include "net/asio_impl.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnull-dereference"
#include <asio/ssl.hpp>
#pragma GCC diagnostic pop

#include <array>
#include <optional>

namespace quorvane {

// One TLS connection, made by us or accepted.
struct AsioNetwork::Tls
{
    Tls(asio::io_context& io, asio::ssl::context& context) : stream(io, context) {}
    Tls(asio::ip::tcp::socket socket, std::shared_ptr<asio::ssl::context> context)
        : stream(std::move(socket), *context), serverContext(std::move(context)), deadline(stream.get_executor())
    {
    }
    asio::ssl::stream<asio::ip::tcp::socket> stream;
    std::shared_ptr<asio::ssl::context> serverContext; // an accepted one's, kept as long as it lives
    std::optional<asio::steady_timer> deadline;         // an accepted one's handshake must end by then
    std::string sessionKey;
    bool open = false;    // the handshake is done
    bool writing = false; // a write is posted or under way
    Bytes out;            // queued for the next write
    Bytes sending;        // the write under way
    std::array<char, 16384> in{};
};

struct AsioNetwork::TlsListener
{
    explicit TlsListener(asio::io_context& io) : acceptor(io), rest(io) {}
    asio::ip::tcp::acceptor acceptor;
    asio::steady_timer rest; // after a failed accept (no descriptors), before the next
    std::shared_ptr<asio::ssl::context> context; // replaced when the certificate is loaded again
    size_t handshaking = 0;
};

struct AsioNetwork::TlsState
{
    std::unique_ptr<asio::ssl::context> client;
    std::string clientCa;
    bool clientReady = false;
    std::map<std::string, SSL_SESSION*> sessions;
    ~TlsState()
    {
        for (auto& [key, session] : sessions) SSL_SESSION_free(session);
    }
};

} // namespace quorvane
