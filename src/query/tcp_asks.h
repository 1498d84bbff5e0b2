// Questions asked again over TCP after another server's answer came back truncated: one
// connection per question, the answer handed on whole, the connection closed after it. At most
// kMaxAsks at once, each given kLifeTicks ticks; the request that asked goes on to its next
// server meanwhile if this takes too long.
#pragma once

#include "net/bytes.h"
#include "net/network.h"

#include <functional>
#include <string_view>
#include <vector>

namespace quorvane {

class TcpAsks {
public:
    static constexpr size_t kMaxAsks = 32;
    static constexpr int kLifeTicks = 10;
    using Deliver = std::function<void(const Endpoint& from, std::string_view message)>;

    TcpAsks(Network& network, Deliver deliver) : m_network(network), m_deliver(std::move(deliver)) {}
    ~TcpAsks() { closeAll(); }
    TcpAsks(const TcpAsks&) = delete;
    TcpAsks& operator=(const TcpAsks&) = delete;

    // False when too many are under way or no connection could be started.
    bool ask(const Endpoint& server, std::string_view query);
    void connected(SocketId connection);
    void data(SocketId connection, std::string_view bytes);
    void closed(SocketId connection);
    void tick();
    void closeAll();

private:
    struct Ask {
        SocketId connection = kNoSocket;
        Endpoint server;
        Bytes query; // framed
        Bytes received;
        int ticks = 0;
    };
    Ask* find(SocketId connection);
    void end(SocketId connection);

    Network& m_network;
    Deliver m_deliver;
    std::vector<Ask> m_asks;
};

} // namespace quorvane
