// The one-second tick and the DNS socket's flood check, driven through the engine.
#include "support/engine_fixture.h"

#include <gtest/gtest.h>

namespace quorvane::test {

using namespace std::chrono_literals;

namespace {

// A running engine whose clock starts two seconds before midnight.
struct Running : EngineFixture {
    explicit Running(const std::string& ini = "") : EngineFixture(ini, fromCalendar({2026, 11, 22, 23, 59, 58}))
    {
        start();
    }
    void query(uint32_t from)
    {
        network.deliver(network.findOpen(false, 53), {from, 5353}, makeQuery(1, "x.", 1, false));
    }
};

} // namespace

TEST(Housekeeping, TickShowsUptimeAndCalmsTheTray)
{
    Running r("Name: ns.home\n");
    r.query(0x0A000001);
    EXPECT_EQ(r.events.tray, 1);
    r.clock.advance(1000ms);
    EXPECT_EQ(r.events.status, "Uptime: 0 Days, 0 Hours, 0 Minutes");
    EXPECT_EQ(r.events.tray, 0);
    r.clock.advance(std::chrono::minutes(61));
    EXPECT_EQ(r.events.status, "Uptime: 0 Days, 1 Hour, 1 Minute");
    const DateTime start = fromCalendar({2026, 1, 1, 0, 0, 0}); // minutes are cut, not rounded
    EXPECT_EQ(uptimeText(start, start + 2 + 2 / 24.0 + 59.9 / 1440.0), "Uptime: 2 Days, 2 Hours, 59 Minutes");
}

TEST(Housekeeping, LateTickZeroesSkippedSecondsAcrossTheWrap)
{
    Running r;
    r.clock.advance(1000ms); // 23:59:59 processed
    auto& counts = r.engine->counters().RequestsPerSecond;
    counts.fill(7);
    r.clock.set(fromCalendar({2026, 11, 23, 0, 0, 1}));
    r.clock.advance(1000ms); // the machine stalled: the next tick comes at 00:00:02
    EXPECT_EQ(counts[59], 7);
    EXPECT_EQ((std::vector<int>(counts.begin(), counts.begin() + 4)), (std::vector<int>{0, 0, 0, 7}));
}

TEST(Housekeeping, FloodBlocksAndTheBlockSurvivesARestart)
{
    Running r("BombLevel: 3\nWriteLog: Yes\n");
    for (int i = 0; i < 5; ++i) r.query(0x0A000009);
    EXPECT_EQ(r.engine->floodGuard().BlockList(), std::vector<std::string>{"10.0.0.9"});
    EXPECT_EQ(std::count(r.events.lines.begin(), r.events.lines.end(),
                         "IP address 10.0.0.9 blocked (more than 3 Requests per second)"),
              1);
    const std::string blockLog = r.folder.read("logs/" + dateStamp(r.clock.now()) + "block.log");
    EXPECT_EQ(blockLog, "23:59:58   IP address 10.0.0.9 blocked (more than 3 DNS Requests per second)\r\n");

    r.engine->close(CloseReason::User);
    EXPECT_EQ(r.folder.read("blocks.dat"), "; Quorvane - IP address blocks\r\n10.0.0.9\r\n");
    r.engine.reset();
    r.events.lines.clear();
    r.restart();
    r.query(0x0A000009);
    EXPECT_EQ(r.events.lines.back(), "Request from 10.0.0.9 on Block list. Ignored!");
    // Paused: datagrams are dropped before the check, silently.
    r.engine->execute(Command::StartStop);
    const auto lines = r.events.lines.size();
    r.query(0x0A000009);
    EXPECT_EQ(r.events.lines.size(), lines);
}

TEST(Housekeeping, QueriesToForwardersLeaveAndReturnOnTheirOwnSocket)
{
    Running r("RecursionOut: YES\nNS: 127.0.0.2\nLogDetail: YES\n");
    const SocketId dns = r.network.findOpen(false, 53);
    r.network.deliver(dns, {0x0A000005, 5353}, makeQuery(9, "www.example.org.", 1, true));
    ASSERT_EQ(r.network.sent.size(), 1u);
    const auto query = r.network.sent[0];
    EXPECT_NE(query.socket, dns);
    EXPECT_EQ(query.to, (Endpoint{0x7F000002, 53}));
    EXPECT_EQ(r.events.lines.back(), "Sending request to 127.0.0.2 (external) for A-record for www.example.org.");

    // The timer asks again once the two-second wait for a lone forwarder is over.
    r.clock.advance(2000ms);
    ASSERT_EQ(r.network.sent.size(), 2u);
    EXPECT_EQ(r.network.sent[1].socket, query.socket);

    // Queries on the outgoing socket are dropped; an answer there reaches the client from port 53.
    const auto lines = r.events.lines.size();
    r.network.deliver(query.socket, {0x0A000006, 5353}, makeQuery(1, "x.", 1, true));
    EXPECT_EQ(r.events.lines.size(), lines);
    const Bytes answer = makeAnswer(r.network.sent[1].data, 0, false, {wireA(2, "www.example.org.", "192.0.2.1")});
    r.network.deliver(query.socket, {0x7F000002, 53}, answer);
    ASSERT_EQ(r.network.sent.size(), 3u);
    EXPECT_EQ(r.network.sent[2].socket, dns);
    EXPECT_EQ(decodeReply(r.network.sent[2].data).section(2), std::vector<std::string>{"www.example.org. A 192.0.2.1"});

    // An answer that comes to port 53 is taken as one too.
    r.network.deliver(dns, {0x7F000002, 53}, answer);
    EXPECT_EQ(r.events.lines.back(), "Reply from 127.0.0.2: Ignored - No matching requests.");
}

} // namespace quorvane::test
