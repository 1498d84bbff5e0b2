// The sockets that questions to other servers use: the hardened port pool and the questions asked
// again over TCP.
#include "query/query_ports.h"
#include "query/tcp_asks.h"
#include "support/fake_network.h"

#include <gtest/gtest.h>

#include <set>

namespace quorvane::test {

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
    for (const SocketId socket : used) EXPECT_TRUE(ports.owns(socket));

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
    EXPECT_FALSE(asks.owns(connection));

    // At most kMaxAsks at once; each lives kLifeTicks ticks.
    for (size_t i = 0; i < TcpAsks::kMaxAsks; ++i) EXPECT_TRUE(asks.ask({0x0A000001, 53}, "q"));
    EXPECT_FALSE(asks.ask({0x0A000001, 53}, "q"));
    for (int tick = 0; tick < TcpAsks::kLifeTicks; ++tick) asks.tick();
    EXPECT_TRUE(asks.ask({0x0A000001, 53}, "q"));
}

} // namespace quorvane::test
