// Questions to forwarders over TLS. One connection per forwarder carries many questions at once;
// the answers come back in any order and the outgoing-query service matches them by identifier.
// A connection is closed after kIdleTicks quiet ticks and opened again by the next question.
// Nothing is ever sent in clear instead: when a connection or its certificate fails, the
// questions on it are lost and their askers' waits run out as for a forwarder that does not answer.
#pragma once

#include "net/bytes.h"
#include "net/network.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

class TlsForwarders {
public:
    static constexpr uint16_t kPort = 853;
    static constexpr int kIdleTicks = 30;    // an open connection with no traffic this long is closed
    static constexpr int kConnectTicks = 10; // a handshake not done by then has failed
    static constexpr int kLogTicks = 60;     // one failure line a minute at most, per forwarder
    static constexpr size_t kMaxForwarders = 32;
    static constexpr size_t kMaxWaiting = 64 * 1024; // bytes of questions waiting for a handshake
    using Deliver = std::function<void(const Endpoint& from, std::string_view message)>;
    using Log = std::function<void(const std::string& line)>;

    TlsForwarders(Network& network, Deliver deliver) : m_network(network), m_deliver(std::move(deliver)) {}
    ~TlsForwarders() { closeAll(); }
    TlsForwarders(const TlsForwarders&) = delete;
    TlsForwarders& operator=(const TlsForwarders&) = delete;

    // The certificate authorities the forwarders' certificates must chain to (empty: the system's).
    void setTrust(std::string caFile) { m_caFile = std::move(caFile); }
    void setLog(Log log) { m_log = std::move(log); }

    // Sends a question to the forwarder at to (its TLS port), whose certificate must carry name.
    void send(const Endpoint& to, const std::string& name, std::string_view message);
    void connected(SocketId connection);
    void data(SocketId connection, std::string_view bytes);
    void failed(SocketId connection, std::string_view reason);
    void closed(SocketId connection);
    void tick();
    void closeAll();

private:
    struct Link {
        Endpoint to;
        std::string name;
        SocketId connection = kNoSocket;
        bool open = false;
        Bytes waiting;  // framed questions sent once the handshake is done
        Bytes received; // bytes of an answer not yet whole
        int quiet = 0;  // ticks without traffic, or since the connection was started
        int64_t loggedAt = -kLogTicks;
    };
    Link* find(SocketId connection);
    Link* linkTo(const Endpoint& to, const std::string& name);
    void drop(Link& link);
    void logFailure(Link& link, std::string_view reason);

    Network& m_network;
    Deliver m_deliver;
    Log m_log;
    std::string m_caFile;
    std::vector<Link> m_links;
    int64_t m_tick = 0;
};

} // namespace quorvane
