// The one-second tick and the DNS socket's flood check, driven through the engine.
#include "support/call_table.h"
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
    r.told("start");
    for (int i = 0; i < 5; ++i) r.query(0x0A000009);
    std::string transcript = r.told("five questions from 10.0.0.9 in one second");
    EXPECT_EQ(r.engine->floodGuard().BlockList(), std::vector<std::string>{"10.0.0.9"});
    const std::string blockLog = r.folder.read("logs/" + dateStamp(r.clock.now()) + "block.log");
    EXPECT_EQ(blockLog, "23:59:58   IP address 10.0.0.9 blocked (more than 3 DNS Requests per second)\r\n");

    r.engine->close(CloseReason::User);
    EXPECT_EQ(r.folder.read("blocks.dat"), "; Quorvane - IP address blocks\r\n10.0.0.9\r\n");
    r.engine.reset();
    r.restart();
    r.told("restart");
    r.query(0x0A000009);
    transcript += r.told("another question after the restart");
    // Paused: datagrams are dropped before the check, silently.
    r.engine->execute(Command::StartStop);
    r.told("pause");
    r.query(0x0A000009);
    expectGoldenFile(QUORVANE_SCENARIO_DATA "/housekeeping_flood.txt", transcript + r.told("a question while paused"));
}

TEST(Housekeeping, QueriesToForwardersLeaveAndReturnOnTheirOwnSocket)
{
    Running r("RecursionOut: YES\nNS: 127.0.0.2\nLogDetail: YES\n");
    const SocketId dns = r.network.findOpen(false, 53);
    r.told("start");
    r.network.deliver(dns, {0x0A000005, 5353}, makeQuery(9, "www.example.org.", 1, true));
    const SocketId outgoing = r.network.sent.at(0).socket;
    std::string transcript = r.told("a question for the forwarder");

    // The timer asks again once the two-second wait for a lone forwarder is over.
    r.clock.advance(2000ms);
    const Bytes retry = r.network.sent.at(0).data;
    transcript += r.told("two seconds later");

    // Queries on the outgoing socket are dropped; an answer there reaches the client from port 53,
    // and one that comes to port 53 is taken as one too.
    r.network.deliver(outgoing, {0x0A000006, 5353}, makeQuery(1, "x.", 1, true));
    transcript += r.told("a question to the outgoing socket");
    const Bytes answer = makeAnswer(retry, 0, false, {wireA(2, "www.example.org.", "192.0.2.1")});
    r.network.deliver(outgoing, {0x7F000002, 53}, answer);
    transcript += r.told("the answer");
    r.network.deliver(dns, {0x7F000002, 53}, answer);
    transcript += r.told("the answer again, to port 53");
    expectGoldenFile(QUORVANE_SCENARIO_DATA "/housekeeping_forwarder.txt", transcript);
}

} // namespace quorvane::test
