#include "replication/notify.h"
#include "replication_fixture.h"

#include "wire/addresses.h"
#include "wire/numbers.h"

#include <gtest/gtest.h>

namespace quorvane::test {
namespace {

struct NotifyFixture : ReplicationFixture
{
    ZoneNotifications notifications{host, store, rig.counters, rig.outgoing, queue};
    NotifyFixture()
    {
        dns.setNotifyHandler(
            [this](const Endpoint& from, std::string_view m) { notifications.ProcNotify(from, m); });
    }
};

Bytes notifyFor(const std::string& zone, uint16_t type)
{
    Bytes message = makeQuery(77, zone, type, false);
    message[2] = 0x24; // opcode 4, AA
    message[3] = 0x10; // a bit the acknowledgement must keep
    return message;
}

// Over TCP a notification that is not taken is left to the query path: nothing is logged or sent.
TEST(Notify, ANotificationIsAcknowledgedOnlyFromTheZonesPrimary)
{
    const std::tuple<uint32_t, Bytes, bool> cases[] = {
        {0x0A000001, notifyFor("copy.test.", 6), false},               // from the primary
        {0x0A000002, notifyFor("copy.test.", 6), false},               // from another server
        {0x0A000001, notifyFor("example.test.", 6), false},            // for a zone of our own
        {0x0A000001, notifyFor("copy.test.", 1), false},               // not about an SOA
        {0x0A000001, notifyFor("copy.test.", 6).substr(0, 22), false}, // cut short
        {0x0A000001, notifyFor("copy.test.", 6), true},
        {0x0A000002, notifyFor("copy.test.", 6), true},
        {0x0A000001, notifyFor("copy.test.", 1), true},
        {0x0A000001, notifyFor("copy.test.", 6).substr(0, 22), true},
    };
    std::string transcript;
    for (const auto& [from, message, tcp] : cases) {
        NotifyFixture f;
        f.host.maxLevel = 0;
        transcript += "notify from " + DataToIP(MakeLong(from)) + (tcp ? " over TCP" : "") + "\n";
        if (tcp) {
            const auto reply = [&, from = from](std::string_view m) { f.host.sendDns({from, 5300}, m); };
            const bool taken = f.notifications.ProcNotifyTcp(DataToIP(MakeLong(from)), message, reply);
            transcript += "taken: " + yes(taken) + "\n";
        } else {
            f.dns.ProcReq({from, 5300}, message);
            EXPECT_EQ(f.rig.counters.RequestCount, 1u);
        }
        transcript += logLines(f.host.lines);
        for (const Lines::value_type& zone : f.queue.queued)
            transcript += "queued: " + zone + "\n";
        for (const auto& [to, reply] : f.host.replies) {
            EXPECT_EQ(to, (Endpoint{from, 5300}));
            // The reply is the message with QR set and the response code in the fourth byte.
            EXPECT_EQ(reply.substr(0, 2) + reply.substr(4), message.substr(0, 2) + message.substr(4));
            EXPECT_EQ(static_cast<unsigned char>(reply[2]), 0xA4);
            transcript += "reply: " + std::to_string(reply[3]) + "\n";
        }
        transcript += "replies counted: " + std::to_string(f.rig.counters.ReplyCount) + "\n";
    }
    expectGolden("notify_requests.txt", transcript);
}

TEST(Notify, EachSecondaryGetsOneMessageWithTheNextIdentifierAndItsAcknowledgementIsTaken)
{
    NotifyFixture f;
    f.rig.outgoing.newId(); // identifiers are shared with resolution
    f.notifications.ZoneNotify(*f.store.findZone("example.test."));
    ASSERT_EQ(f.rig.queries().size(), 2u);
    // Identifier 2, opcode 4 with AA, one question: the zone's SOA.
    EXPECT_EQ(f.rig.queries()[0].message,
              Bytes("\0\x02\x24\0\0\x01\0\0\0\0\0\0\x07" "example\x04" "test\0\0\x06\0\x01", 30));
    EXPECT_EQ(f.rig.queries()[0].to, (Endpoint{0x0A000007, 53}));
    EXPECT_EQ(f.rig.queries()[1].message.substr(0, 2), MakeShort(3));
    EXPECT_EQ(f.rig.queries()[1].to, (Endpoint{0x0A000009, 53}));

    // The secondaries' acknowledgements are ours, not answers nobody asked for: nothing is logged.
    for (const auto& sent : f.rig.queries()) {
        Bytes ack = sent.message;
        ack[2] = static_cast<char>(ack[2] | 0x80);
        f.rig.outgoing.datagram(sent.to, ack);
    }

    // A zone without secondaries sends and logs nothing; an address that is none is logged.
    f.notifications.ZoneNotify(*f.store.findZone("open.test."));
    EXPECT_EQ(f.rig.queries().size(), 2u);
    clZone odd("odd.test.", 0);
    odd.Slaves = {"10.0.0.300"};
    f.notifications.ZoneNotify(odd);
    EXPECT_EQ(f.rig.queries().size(), 2u);
    expectGolden("notify_sent.txt", logLines(f.host.lines));
}

} // namespace
} // namespace quorvane::test
