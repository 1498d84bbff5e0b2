// The outgoing-query service: answers handed to the owner of their identifier, the hardened port
// pool, and the questions asked again over TCP.
#include "query/outgoing_queries.h"
#include "query/query_ports.h"
#include "query/tcp_asks.h"
#include "support/fake_network.h"
#include "wire/tcp_frame.h"

#include <gtest/gtest.h>

#include <set>

namespace quorvane::test {

namespace {

// Takes the answers it is offered when willing, and counts them.
struct Owner : QueryOwner {
    bool takeAnswer(const Endpoint&, std::string_view, bool viaTcp) override
    {
        (viaTcp ? tcp : udp) += willing ? 1 : 0;
        return willing;
    }
    bool willing = true;
    int udp = 0, tcp = 0;
};

Bytes answerTo(int32_t id)
{
    return Bytes{static_cast<char>(id >> 8), static_cast<char>(id & 0xFF), '\x80', '\0'} + Bytes(8, '\0');
}

} // namespace

TEST(OutgoingQueries, EachAnswerGoesToTheOwnerOfItsIdentifierForAWhile)
{
    FakeNetwork network;
    OutgoingQueries outgoing(network);
    Owner resolver, zoneCheck, unclaimed;
    outgoing.setUnclaimed(&unclaimed);
    outgoing.open(false);
    const int32_t asked = outgoing.newQuery(resolver);
    const int32_t checked = outgoing.newQuery(zoneCheck);
    EXPECT_EQ(checked, asked + 1) << "counted identifiers, shared by every owner";

    outgoing.datagram({}, answerTo(asked));
    outgoing.datagram({}, answerTo(checked));
    outgoing.datagram({}, answerTo(checked + 1)); // nobody's
    zoneCheck.willing = false;
    outgoing.datagram({}, answerTo(checked)); // refused by its owner
    outgoing.datagram({}, Bytes(11, '\0'));   // too short to carry an identifier
    EXPECT_EQ((std::vector{resolver.udp, zoneCheck.udp, unclaimed.udp}), (std::vector{1, 1, 2}));

    outgoing.forget(asked, zoneCheck); // not its identifier: nothing changes
    outgoing.datagram({}, answerTo(asked));
    outgoing.forget(asked, resolver);
    outgoing.datagram({}, answerTo(asked));
    EXPECT_EQ((std::vector{resolver.udp, unclaimed.udp}), (std::vector{2, 3}));

    // An identifier nobody took back is freed after its time, so the table never grows unbounded.
    for (int tick = 0; tick < OutgoingQueries::kHoldTicks; ++tick) outgoing.tick();
    zoneCheck.willing = true;
    outgoing.datagram({}, answerTo(checked));
    EXPECT_EQ(zoneCheck.udp, 2);
    outgoing.tick();
    outgoing.datagram({}, answerTo(checked));
    EXPECT_EQ((std::vector{zoneCheck.udp, unclaimed.udp}), (std::vector{2, 4}));

    // Counted identifiers wrap from 65535 to 1; hardened, a random one is never one still held.
    QueryIdCounter ids;
    for (int i = 1; i < 65535; ++i) ids.next();
    EXPECT_EQ((std::vector{ids.next(), ids.next()}), (std::vector{65535, 1}));
    outgoing.open(true);
    std::set<int32_t> held;
    for (int i = 0; i < 5000; ++i) EXPECT_TRUE(held.insert(outgoing.newQuery(resolver)).second);
}

TEST(QueryPorts, HardenedPoolSpreadsQueriesAndReplacesQuietPorts)
{
    FakeNetwork network;
    QueryPorts ports(network);
    ASSERT_TRUE(ports.open(false));
    EXPECT_EQ(network.open().size(), 1u);
    ASSERT_TRUE(ports.open(true));
    EXPECT_EQ(network.open().size(), QueryPorts::kPoolSize) << "the plain socket made way for the pool";

    for (int i = 0; i < 5000; ++i) ports.send({0x0A000001, 53}, "q"); // each port used, bar one chance in a million
    std::set<SocketId> used;
    for (const auto& sent : network.sent) used.insert(sent.socket);
    EXPECT_EQ(used.size(), QueryPorts::kPoolSize);
    for (const SocketId socket : used) EXPECT_TRUE(network.isOpen(socket));

    // Every port sent just now: none is replaced until it has been quiet for a while.
    const auto openIds = [&] {
        std::set<SocketId> ids;
        for (const auto& [id, bound] : network.open()) ids.insert(id);
        return ids;
    };
    const std::set<SocketId> before = openIds();
    for (int tick = 0; tick < QueryPorts::kQuietTicks; ++tick) ports.tick();
    EXPECT_EQ(openIds(), before);
    ports.tick();
    EXPECT_NE(openIds(), before);
    EXPECT_EQ(openIds().size(), QueryPorts::kPoolSize);

    ports.closeAll();
    EXPECT_TRUE(network.open().empty());
}

TEST(TcpAsks, OneFramedQuestionOneAnswerAndACap)
{
    FakeNetwork network;
    std::vector<std::pair<Endpoint, Bytes>> answers;
    TcpAsks asks(network, [&](const Endpoint& from, std::string_view message) {
        answers.emplace_back(from, Bytes(message));
    });
    ASSERT_TRUE(asks.ask({0x0A000001, 53}, "question"));
    const SocketId connection = network.connects.begin()->first;
    asks.connected(connection);
    EXPECT_EQ(network.tcpSent[connection], Bytes("\0\x08question", 10));

    asks.data(connection, Bytes("\0\x05", 2) + "ans");
    EXPECT_TRUE(answers.empty());
    asks.data(connection, "wer-and-more");
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0].second, "answe");
    EXPECT_EQ(answers[0].first.port, 53);
    EXPECT_FALSE(network.isOpen(connection));

    // At most kMaxAsks at once; each lives kLifeTicks ticks.
    for (size_t i = 0; i < TcpAsks::kMaxAsks; ++i) EXPECT_TRUE(asks.ask({0x0A000001, 53}, "q"));
    EXPECT_FALSE(asks.ask({0x0A000001, 53}, "q"));
    for (int tick = 0; tick < TcpAsks::kLifeTicks; ++tick) asks.tick();
    EXPECT_TRUE(asks.ask({0x0A000001, 53}, "q"));
}

TEST(TlsForwarders, PipelinedOnOneConnectionIdleCloseReconnectAndNoClearText)
{
    FakeNetwork network;
    OutgoingQueries outgoing(network);
    std::vector<std::string> log;
    outgoing.tls().setLog([&](const std::string& line) { log.push_back(line); });
    Owner owner;
    const Endpoint forwarder{0x0A000001, TlsForwarders::kPort};
    const int32_t first = outgoing.newQuery(owner), second = outgoing.newQuery(owner);
    outgoing.sendTls(forwarder, "dns.example", answerTo(first));
    outgoing.sendTls(forwarder, "dns.example", answerTo(second));
    ASSERT_EQ(network.connects.size(), 1u) << "questions share the forwarder's one connection";
    const SocketId connection = network.connects.begin()->first;
    EXPECT_EQ(network.tlsNames[connection], "dns.example");
    EXPECT_TRUE(network.tcpSent[connection].empty()) << "nothing leaves before the handshake";
    outgoing.tcpConnected(connection);
    EXPECT_EQ(network.tcpSent[connection].size(), 2 * 14u);

    // The answers come back in the other order and cut anywhere; each is handed on once whole.
    Bytes stream;
    appendFramed(stream, answerTo(second));
    appendFramed(stream, answerTo(first));
    outgoing.tcpData(connection, stream.substr(0, 5));
    EXPECT_EQ(owner.tcp, 0);
    outgoing.tcpData(connection, stream.substr(5));
    EXPECT_EQ(owner.tcp, 2);

    // Closed after kIdleTicks quiet ticks; the next question opens a new connection.
    for (int tick = 1; tick < TlsForwarders::kIdleTicks; ++tick) outgoing.tick();
    EXPECT_TRUE(network.isOpen(connection));
    outgoing.tick();
    EXPECT_FALSE(network.isOpen(connection));
    outgoing.sendTls(forwarder, "dns.example", answerTo(first));
    ASSERT_EQ(network.connects.size(), 2u);
    const SocketId again = network.connects.rbegin()->first;

    // Dropped in the middle of an answer: the part is thrown away, the next question reconnects.
    outgoing.tcpConnected(again);
    outgoing.tcpData(again, stream.substr(0, 8));
    network.close(again);
    outgoing.tcpClosed(again);
    EXPECT_EQ(owner.tcp, 2);
    outgoing.sendTls(forwarder, "dns.example", answerTo(first));
    EXPECT_EQ(network.connects.size(), 3u);

    // A refused certificate and a handshake that never ends: one line a minute, nothing in clear.
    const SocketId refused = network.connects.rbegin()->first;
    outgoing.tlsFailed(refused, "hostname mismatch");
    outgoing.tcpClosed(refused);
    outgoing.sendTls(forwarder, "dns.example", answerTo(first));
    for (int tick = 0; tick < TlsForwarders::kConnectTicks; ++tick) outgoing.tick();
    EXPECT_FALSE(network.isOpen(network.connects.rbegin()->first));
    for (int tick = TlsForwarders::kConnectTicks; tick < TlsForwarders::kLogTicks; ++tick) outgoing.tick();
    outgoing.sendTls(forwarder, "dns.example", answerTo(first));
    for (int tick = 0; tick < TlsForwarders::kConnectTicks; ++tick) outgoing.tick();
    EXPECT_EQ(log, (std::vector<std::string>{"TLS connection to 10.0.0.1 (dns.example) failed: hostname mismatch",
                                             "TLS connection to 10.0.0.1 (dns.example) failed: no handshake within 10 s"}));
    EXPECT_TRUE(network.sent.empty());
}

} // namespace quorvane::test
