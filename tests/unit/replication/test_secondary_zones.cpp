#include "replication/secondary_zones.h"
#include "replication_fixture.h"

#include "wire/message.h"
#include "wire/names.h"
#include "wire/numbers.h"

#include <gtest/gtest.h>

namespace quorvane::test {
namespace {

using namespace std::chrono_literals;

constexpr Endpoint kPrimary{0x0A000001, 53}; // copy.test.'s primary, 10.0.0.1

struct SecondaryFixture : ReplicationFixture
{
    bool running = true;
    Lines changed;
    ctlZTS zts{network,
               clock,
               host,
               store,
               rig.outgoing,
               [this](const clZone& zone) { changed.push_back(zone.Name); },
               [this] { return running; }};

    SecondaryFixture()
    {
        folder.write("data/new.test.dns", "; PrimaryIP 10.0.0.3\n"); // a copy not taken yet
        store.LoadZone("new.test.");
        host.lines.clear();
    }
    // Answers the SOA query in flight with this serial; false when ctlZTS did not take it.
    bool answerSoa(uint32_t serial, int idOffset = 0)
    {
        const WireRecord soa = wireSoa("copy.test.", 3600, 60, serial, 2);
        Bytes answer = makeAnswer(rig.queries().back().message, 0, true, {soa});
        answer.replace(0, 2, MakeShort(shortAt(answer, 0) + idOffset));
        return zts.takeAnswer({}, answer, false);
    }
    // The request sent on the current connection, without its length.
    Bytes request() { return network.tcpSent[zts.Winsock()].substr(2); }
    // The primary's answer to the request: one message per group of records, cut into small
    // segments as a slow network would deliver them.
    void transfer(const std::vector<std::vector<WireRecord>>& messages, int rcode = 0)
    {
        Bytes stream;
        for (const auto& records : messages)
            stream += framed(makeAnswer(request(), rcode, true, records));
        for (size_t at = 0; at < stream.size() && zts.state() == ctlZTS::Receiving; at += 7)
            zts.DataArrival(std::string_view(stream).substr(at, 7));
    }
    // The log since the last call (then emptied), the state, the SOA queries sent so far and
    // copy.test. as the store holds it, its times in seconds from now.
    std::string transcript()
    {
        const clZone& copy = *store.findZone("copy.test.");
        const auto fromNow = [this](DateTime at) {
            return std::to_string(std::lround((at - clock.now()) * kSecondsPerDay));
        };
        std::string out = logLines(host.lines) + "state " + std::to_string(static_cast<int>(zts.state())) +
                          ", queries " + std::to_string(rig.queries().size()) + ", copy.test. serial " +
                          std::to_string(static_cast<long>(copy.Serial)) + " records " +
                          std::to_string(copy.Records.size()) + " refresh " + std::to_string(copy.RefreshIV) +
                          " retry " + std::to_string(copy.RetryIV) + " next " + fromNow(copy.NextRefresh) +
                          " expires " + fromNow(copy.Expires) + "\n";
        host.lines.clear();
        return out;
    }
};

TEST(SecondaryZones, TheQueueChecksOneZoneAtATimeAndEqualSerialsOnlyMoveTheTimes)
{
    SecondaryFixture f;
    f.running = false; // paused: nothing is asked, the queue waits
    f.zts.Que("copy.test.");
    EXPECT_TRUE(f.rig.queries().empty());
    EXPECT_EQ(f.zts.state(), ctlZTS::Idle);
    f.running = true;
    f.zts.resume();
    f.zts.Que("copy.test."); // being checked: nothing changes
    f.zts.Que("new.test.");
    f.zts.Que("new.test.");
    EXPECT_EQ(f.zts.queue(), std::deque<std::string>{"new.test."});
    ASSERT_EQ(f.rig.queries().size(), 1u);
    EXPECT_EQ(f.rig.queries()[0].to, kPrimary);
    const DecodedReply query = decodeReply(f.rig.queries()[0].message);
    EXPECT_EQ(query.qname, "copy.test.");
    EXPECT_EQ(query.qtype, 6);
    EXPECT_FALSE(query.rd);
    std::string transcript = f.transcript();
    EXPECT_FALSE(f.answerSoa(1, 1)); // another identifier belongs to the query path
    f.clock.advance(2s);
    EXPECT_TRUE(f.answerSoa(1));
    // The same serial moves the times only. The next zone has no records yet: it is taken at once,
    // without asking for its SOA.
    expectGolden("secondary_queue.txt", transcript + f.transcript());
    EXPECT_EQ(f.network.connects.at(f.zts.Winsock()), (Endpoint{0x0A000003, 53}));
    EXPECT_FALSE(f.answerSoa(1)); // a late answer is no longer ours
}

TEST(SecondaryZones, ATransferReplacesTheZoneInOneStepAndIsWrittenBack)
{
    SecondaryFixture f;
    f.zts.Que("copy.test.");
    ASSERT_TRUE(f.answerSoa(5));
    ASSERT_EQ(f.zts.state(), ctlZTS::Connecting);
    f.zts.connected();
    const Bytes request = f.request();
    EXPECT_TRUE(request.ends_with("MS"));
    EXPECT_EQ(decodeReply(request.substr(0, request.size() - 2)).qtype, 252);

    WireRecord hinfo{2, "h.copy.test.", 13, 60, Bytes("\x01x\x01y", 4)};
    f.transfer({{wireSoa("copy.test.", 3600, 60, 5, 2), wireA(2, "www.copy.test.", "10.0.0.80", 300),
                 wireName(2, "copy.test.", 2, "ns.copy.test.")},
                {wireA(2, "evil.example.", "10.6.6.6"), hinfo,
                 wireName(2, "mail.copy.test.", 5, "www.copy.test.")}});
    // Everything so far is held back: the old zone answers until the last SOA.
    EXPECT_TRUE(f.store.records("www.copy.test.").empty());
    std::string transcript = f.transcript();
    f.transfer({{wireSoa("copy.test.", 3600, 60, 5, 2)}});
    expectGolden("secondary_transfer.txt", transcript + f.transcript());
    EXPECT_FALSE(f.network.isOpen(f.network.connects.begin()->first));
    EXPECT_EQ(f.changed, Lines{"copy.test."});
    EXPECT_TRUE(f.store.records("evil.example.").empty()); // outside the zone
    EXPECT_TRUE(f.store.records("h.copy.test.").empty());  // a type that zone files do not carry
    expectGolden("secondary_copy.test.dns", f.folder.read("data/copy.test.dns"));
    f.store.LoadZone("copy.test.");
    EXPECT_EQ(f.store.findZone("copy.test.")->Records.size(), 4u);
    EXPECT_EQ(f.store.findZone("copy.test.")->PrimaryIP, "10.0.0.1");
}

// No SOA answer: copy.test. is tried again after its retry time; new.test., taken next, goes
// straight to connecting, and the same tick finds it unconnected. Then a newer serial and a transfer
// that does not begin with the SOA: the old records stay. Past its expiry time (600 s after load)
// the next failure empties the zone and its file.
TEST(SecondaryZones, TheWatchdogRetriesKeepsOldRecordsAndExpiresZonesInItsOrder)
{
    SecondaryFixture f;
    f.zts.Que("copy.test.");
    f.zts.Que("new.test.");
    f.clock.advance(5s);
    std::string transcript = f.transcript();
    f.zts.Que("copy.test.");
    ASSERT_TRUE(f.answerSoa(9));
    f.zts.connected();
    f.transfer({{wireA(2, "www.copy.test.", "10.0.0.9"), wireSoa("copy.test.", 3600, 60, 9, 2)}});
    f.clock.advance(5s);
    transcript += f.transcript();
    f.clock.advance(600s);
    f.zts.Que("copy.test.");
    f.clock.advance(5s);
    expectGolden("secondary_watchdog.txt", transcript + f.transcript());
    EXPECT_TRUE(f.store.records("copy.test.").empty());
    EXPECT_EQ(f.folder.read("data/copy.test.dns"), "; PrimaryIP 10.0.0.1\n");
}

} // namespace
} // namespace quorvane::test
