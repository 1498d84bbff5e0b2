// The sockets that queries to other servers leave from. Plain, that is the one socket WSDNS2,
// bound once. Hardened, it is a pool of kPoolSize sockets on ports the system picks, one drawn at
// random for each query, with one port replaced by a fresh one on each tick, so that the ports in
// use keep changing and an outsider cannot guess the one to aim a forged answer at.
#pragma once

#include "net/network.h"
#include "net/random_source.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace quorvane {

class QueryPorts {
public:
    static constexpr size_t kPoolSize = 256;
    // A port that sent a query this many ticks ago or less is not replaced yet: its answer may
    // still be on the way.
    static constexpr int kQuietTicks = 5;

    explicit QueryPorts(Network& network) : m_network(network) {}
    ~QueryPorts() { closeAll(); }
    QueryPorts(const QueryPorts&) = delete;
    QueryPorts& operator=(const QueryPorts&) = delete;

    // Binds what the mode needs; sockets already bound for that mode are kept. False when no
    // socket could be bound.
    bool open(bool hardened);
    void send(const Endpoint& to, std::string_view message);
    // Hardened: the next port in turn is replaced, unless it sent lately.
    void tick();
    void closeAll();

private:
    struct Slot {
        SocketId socket = kNoSocket;
        int64_t lastSend = -kQuietTicks - 1; // the tick of its last query
    };
    bool bindSlot(Slot& slot);

    Network& m_network;
    RandomSource m_random;
    std::vector<Slot> m_slots;
    bool m_hardened = false;
    int64_t m_tick = 0;
    size_t m_nextReplaced = 0;
};

} // namespace quorvane
