// The record store through the engine: loaded at start, reloaded on command, new zone files picked
// up by the tick, the cache kept across a restart when asked to, and expired records swept; and the
// zone replication around it: transfers over TCP, the reload port and NOTIFY both ways.
#include "support/engine_fixture.h"

#include <gtest/gtest.h>

namespace quorvane::test {

using namespace std::chrono_literals;

namespace {

// The engine with one zone, lan., holding host.lan. A 10.0.0.1.
struct Program : EngineFixture {
    explicit Program(const std::string& ini) : EngineFixture(ini)
    {
        folder.write("data/lan.dns", "@ IN SOA ns.lan. admin.lan. 1 1 1 1 1\nhost IN A 10.0.0.1\n");
    }
    void start() { restart(); }
};

} // namespace

TEST(StoreWiring, ReloadCommandAndNewZoneFilesReplaceZoneData)
{
    Program p("CheckNew: 5\n");
    p.start();
    EXPECT_TRUE(p.logged("Loading Zone: lan."));
    EXPECT_EQ(p.answer("host.lan."), Lines{"host.lan. A 10.0.0.1"});

    p.folder.write("data/lan.dns", "@ IN SOA ns.lan. admin.lan. 2 1 1 1 1\nhost IN A 10.0.0.2\n");
    p.engine->execute(Command::ReloadRecords); // SIGHUP
    EXPECT_EQ(p.answer("host.lan."), Lines{"host.lan. A 10.0.0.2"});

    p.clock.advance(1s); // the first tick scans at once and finds nothing new
    EXPECT_FALSE(p.logged("New zone file discovered: lan."));
    p.folder.write("data/lan.new", "@ IN SOA ns.lan. admin.lan. 3 1 1 1 1\nhost IN A 10.0.0.3\n");
    p.clock.advance(4s); // not yet more than CheckNew seconds since that scan
    EXPECT_EQ(p.answer("host.lan."), Lines{"host.lan. A 10.0.0.2"});
    p.clock.advance(2s);
    EXPECT_TRUE(p.logged("New zone file discovered: lan."));
    EXPECT_EQ(p.answer("host.lan."), Lines{"host.lan. A 10.0.0.3"});
    EXPECT_FALSE(std::filesystem::exists(p.folder.path() / "data/lan.new"));
}

TEST(StoreWiring, CacheKeptAcrossARestartWhenAskedToAndSweptOnTheTick)
{
    Program p("CacheReload: yes\n");
    p.start();
    // A learned record expired more than 5 seconds ago goes on a tick; the tiny cache is visited each one.
    p.engine->store().CacheAdd("short.example.", 1, 2, Bytes("\x0A\x00\x00\x01", 4), 0);
    const size_t count = p.engine->store().recordCount();
    p.clock.advance(1s);
    EXPECT_EQ(p.engine->store().recordCount(), count);
    p.clock.advance(8s);
    EXPECT_EQ(p.engine->store().recordCount(), count - 1);

    // The clock is not advanced after the restart below: the closed engine's timers stay on it.
    p.engine->store().CacheAdd("learned.example.", 1, 3600, Bytes("\x0A\x09\x09\x09", 4), 0);
    p.engine->close(CloseReason::User);
    EXPECT_NE(p.folder.read("named.cache").find("learned.example."), std::string::npos);

    p.events.lines.clear();
    p.start();
    const auto at = std::find(p.events.lines.begin(), p.events.lines.end(), "Loading Cache...");
    ASSERT_NE(at, p.events.lines.end());
    EXPECT_EQ(*(at - 1), "-> File not found!");       // no named.root, reported by the reload before it
    EXPECT_EQ(*(at + 2), "Loading IP address blocks..."); // after the cache's own count line
    EXPECT_EQ(p.answer("learned.example."), Lines{"learned.example. A 10.9.9.9"});
}

TEST(StoreWiring, ZonesAreServedToSecondariesAndReloadedByCommand)
{
    Program p("CheckNew: 1\n");
    p.folder.write("data/lan.dns", "; Notify 10.0.0.7\n@ IN SOA ns.lan. admin.lan. 1 1 1 1 1\nhost IN A 10.0.0.1\n");
    p.start();
    const auto notifications = [&p] {
        size_t count = 0;
        for (const auto& sent : p.network.sent)
            count += sent.to == Endpoint{0x0A000007, 53} && (static_cast<unsigned char>(sent.data[2]) & 0x78) == 0x20;
        return count;
    };

    const SocketId connection = p.network.connect(p.network.findOpen(true, 53), {0x0A000007, 4000});
    const Bytes axfr = makeQuery(3, "lan.", 252, false);
    p.network.deliverTcp(connection, framed(axfr));
    EXPECT_TRUE(p.logged("Sending Zone Transfer to 10.0.0.7 for lan."));
    EXPECT_FALSE(p.network.tcpSent[connection].empty());

    // The reload port takes commands from this machine only; a reloaded zone notifies its secondary.
    const SocketId reload = p.network.findOpen(false, p.engine->reloadPort());
    p.network.deliver(reload, {0x0A000005, 999}, "UNLOAD lan");
    EXPECT_EQ(p.answer("host.lan."), Lines{"host.lan. A 10.0.0.1"});
    p.network.deliver(reload, {0x7F000001, 999}, "RELOAD P lan");
    EXPECT_EQ(notifications(), 1u);
    p.folder.write("data/lan.new", "; Notify 10.0.0.7\n@ IN SOA ns.lan. admin.lan. 2 1 1 1 1\n");
    p.clock.advance(2s);
    EXPECT_EQ(notifications(), 2u);
    p.network.deliver(reload, {0x7F000001, 999}, "unload lan");
    EXPECT_TRUE(p.logged("Removing Zone: lan."));
    EXPECT_EQ(p.answer("host.lan."), Lines{});
}

TEST(StoreWiring, SecondaryZonesAreTakenFromTheirPrimaryAndCheckedOnNotify)
{
    Program p("LogDetail: YES\n");
    p.folder.write("data/copy.dns", "; PrimaryIP 10.0.0.1\n");
    p.start();
    // Copies are checked when the server starts: an empty one is taken at once.
    ASSERT_EQ(p.network.connects.size(), 1u);
    const auto [connection, primary] = *p.network.connects.begin();
    EXPECT_EQ(primary, (Endpoint{0x0A000001, 53}));
    p.network.accept(connection);
    const Bytes request = p.network.tcpSent[connection].substr(2);
    const WireRecord soa = wireSoa("copy.", 3600, 60, 7, 2);
    const Bytes answer = makeAnswer(request, 0, true, {soa, wireA(2, "www.copy.", "10.0.0.80"), soa});
    p.network.deliverTcp(connection, framed(answer));
    EXPECT_TRUE(p.logged("Receiving Zone Transfer from 10.0.0.1 for copy."));
    EXPECT_EQ(p.answer("www.copy."), Lines{"www.copy. A 10.0.0.80"});
    EXPECT_TRUE(p.folder.read("data/copy.dns").starts_with("; PrimaryIP 10.0.0.1\n@ 3600 SOA ns.copy."));

    // A NOTIFY from the primary: acknowledged, then the SOA is asked for from the outgoing socket.
    Bytes notify = makeQuery(9, "copy.", 6, false);
    notify[2] = 0x24;
    p.network.sent.clear();
    p.network.deliver(p.network.findOpen(false, 53), {0x0A000001, 53}, notify);
    ASSERT_EQ(p.network.sent.size(), 2u);
    const auto& query = p.network.sent[1];
    EXPECT_EQ(query.to, (Endpoint{0x0A000001, 53}));
    EXPECT_EQ(decodeReply(query.data).qtype, 6);
    // The same serial: nothing to transfer.
    p.network.deliver(query.socket, {0x0A000001, 53}, makeAnswer(query.data, 0, true, {soa}));
    EXPECT_EQ(p.network.connects.size(), 1u);
    EXPECT_FALSE(p.logged("Reply from 10.0.0.1: Ignored - No matching requests."));
}

TEST(StoreWiring, DueCopiesAreAskedForAtMostOnceAMinute)
{
    Program p("");
    p.folder.write("data/copy.dns", "; PrimaryIP 10.0.0.1\n@ IN SOA ns.copy. admin.copy. 1 5 5 3600 5\n");
    p.start();
    const auto soaQueries = [&p] {
        return std::count_if(p.network.sent.begin(), p.network.sent.end(),
                             [](const FakeNetwork::Sent& sent) { return sent.to == Endpoint{0x0A000001, 53}; });
    };
    EXPECT_EQ(soaQueries(), 1);
    // No answer: the retry time (5 s) passes long before the next poll a minute later.
    p.clock.advance(59s);
    EXPECT_EQ(soaQueries(), 1);
    p.clock.advance(3s);
    EXPECT_EQ(soaQueries(), 2);
}

} // namespace quorvane::test
