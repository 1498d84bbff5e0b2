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

WireRecord soa(const std::string& zone, uint32_t serial)
{
    return wireSoa(zone, 3600, 60, serial, 2);
}

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
        Bytes answer = makeAnswer(rig.queries().back().message, 0, true, {soa("copy.test.", serial)});
        const int id = shortAt(answer, 0) + idOffset;
        answer[0] = static_cast<char>(id >> 8);
        answer[1] = static_cast<char>(id & 0xFF);
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
    long logged(const std::string& line) const
    {
        return std::count(host.lines.begin(), host.lines.end(), line);
    }
    bool has(const std::string& name) { return !store.records(name).empty(); }
};

TEST(SecondaryZones, TheQueueChecksOneZoneAtATimeAndEqualSerialsOnlyMoveTheTimes)
{
    SecondaryFixture f;
    f.zts.Que("copy.test.");
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
    EXPECT_EQ(f.logged("Sending request to 10.0.0.1 for SOA-record for copy.test."), 1);

    EXPECT_FALSE(f.answerSoa(1, 1)); // another identifier belongs to the query path
    f.clock.advance(2s);
    EXPECT_TRUE(f.answerSoa(1));
    const clZone& copy = *f.store.findZone("copy.test.");
    EXPECT_DOUBLE_EQ(copy.NextRefresh, addSeconds(f.clock.now(), 60));
    EXPECT_DOUBLE_EQ(copy.Expires, addSeconds(f.clock.now(), 600));
    // The next zone has no records yet: it is taken at once, without asking for its SOA.
    EXPECT_EQ(f.rig.queries().size(), 1u);
    EXPECT_EQ(f.zts.state(), ctlZTS::Connecting);
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
    EXPECT_EQ(f.network.tcpSent[f.zts.Winsock()].size(), request.size() + 2);
    EXPECT_TRUE(request.ends_with("MS"));
    EXPECT_EQ(decodeReply(request.substr(0, request.size() - 2)).qtype, 252);
    EXPECT_EQ(f.logged("Sending Zone Transfer Request to 10.0.0.1 for copy.test."), 1);

    WireRecord hinfo{2, "h.copy.test.", 13, 60, Bytes("\x01x\x01y", 4)};
    f.transfer({{soa("copy.test.", 5), wireA(2, "www.copy.test.", "10.0.0.80", 300),
                 wireName(2, "copy.test.", 2, "ns.copy.test.")},
                {wireA(2, "evil.example.", "10.6.6.6"), hinfo,
                 wireName(2, "mail.copy.test.", 5, "www.copy.test.")}});
    // Everything so far is held back: the old zone answers until the last SOA.
    EXPECT_FALSE(f.has("www.copy.test."));
    EXPECT_EQ(f.store.findZone("copy.test.")->Serial, 1);
    f.transfer({{soa("copy.test.", 5)}});

    EXPECT_EQ(f.zts.state(), ctlZTS::Idle);
    EXPECT_FALSE(f.network.isOpen(f.network.connects.begin()->first));
    EXPECT_EQ(f.logged("Receiving Zone Transfer from 10.0.0.1 for copy.test."), 1);
    EXPECT_EQ(f.changed, Lines{"copy.test."});
    const clZone& copy = *f.store.findZone("copy.test.");
    EXPECT_EQ(copy.Serial, 5);
    EXPECT_EQ(copy.RefreshIV, 3600);
    EXPECT_DOUBLE_EQ(copy.Expires, addSeconds(f.clock.now(), 86400));
    EXPECT_FALSE(f.has("evil.example.")); // outside the zone
    EXPECT_FALSE(f.has("h.copy.test."));  // a type that zone files do not carry
    expectGolden("secondary_copy.test.dns", f.folder.read("data/copy.test.dns"));
    f.store.LoadZone("copy.test.");
    EXPECT_EQ(f.store.findZone("copy.test.")->Records.size(), 4u);
    EXPECT_EQ(f.store.findZone("copy.test.")->PrimaryIP, "10.0.0.1");
}

TEST(SecondaryZones, TheWatchdogRetriesKeepsOldRecordsAndExpiresZonesInItsOrder)
{
    SecondaryFixture f;
    f.zts.Que("copy.test.");
    f.zts.Que("new.test.");
    const DateTime asked = f.clock.now();
    // No SOA answer: copy.test. is tried again after its retry time; new.test., taken next, goes
    // straight to connecting, and the same tick finds it unconnected.
    f.clock.advance(5s);
    EXPECT_DOUBLE_EQ(f.store.findZone("copy.test.")->NextRefresh, addSeconds(asked, 65));
    EXPECT_EQ(f.logged("Failed to establish Zone Transfer connection with 10.0.0.3 for new.test."), 1);
    EXPECT_EQ(f.zts.state(), ctlZTS::Idle);

    // A newer serial, then a transfer that does not begin with the SOA: the old records stay.
    f.zts.Que("copy.test.");
    ASSERT_TRUE(f.answerSoa(9));
    f.zts.connected();
    f.transfer({{wireA(2, "www.copy.test.", "10.0.0.9"), soa("copy.test.", 9)}});
    f.clock.advance(5s);
    EXPECT_EQ(f.logged("Failed to receive Zone Transfer from 10.0.0.1 for copy.test."), 1);
    EXPECT_EQ(f.store.findZone("copy.test.")->Records.size(), 1u);
    EXPECT_EQ(f.logged("Zone has expired: copy.test."), 0);

    // Past its expiry time (600 s after load), the next failure empties it.
    f.clock.advance(600s);
    f.zts.Que("copy.test.");
    f.clock.advance(5s);
    EXPECT_EQ(f.logged("Zone has expired: copy.test."), 1);
    const clZone& copy = *f.store.findZone("copy.test.");
    EXPECT_TRUE(copy.Records.empty());
    EXPECT_FALSE(f.has("copy.test."));
    EXPECT_EQ(copy.PrimaryIP, "10.0.0.1");
    EXPECT_EQ(copy.RetryIV, 300);
    EXPECT_DOUBLE_EQ(copy.NextRefresh, addSeconds(f.clock.now(), 300));
    EXPECT_EQ(f.folder.read("data/copy.test.dns"), "; PrimaryIP 10.0.0.1\n");
}

TEST(SecondaryZones, NothingIsAskedWhilePausedAndTheQueueWaits)
{
    SecondaryFixture f;
    f.running = false;
    f.zts.Que("copy.test.");
    EXPECT_TRUE(f.rig.queries().empty());
    EXPECT_EQ(f.zts.state(), ctlZTS::Idle);
    f.running = true;
    f.zts.resume();
    EXPECT_EQ(f.rig.queries().size(), 1u);
    EXPECT_EQ(f.zts.state(), ctlZTS::SoaSent);
}

} // namespace
} // namespace quorvane::test
