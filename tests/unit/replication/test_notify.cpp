#include "replication/notify.h"
#include "replication_fixture.h"

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

TEST(Notify, ANotificationIsAcknowledgedOnlyFromTheZonesPrimary)
{
    const Bytes truncated = notifyFor("copy.test.", 6).substr(0, 22);
    struct Case
    {
        const char* what;
        uint32_t from;
        Bytes message;
        int reply; // -1 none; else the fourth byte of the reply
        bool queued;
        Lines lines;
    };
    const Case cases[] = {
        {"from the primary",
         0x0A000001,
         notifyFor("copy.test.", 6),
         0x10,
         true,
         {"Zone Update Notification from 10.0.0.1 about copy.test.",
          "Sending Notification Acknowledgement to 10.0.0.1"}},
        {"from another server",
         0x0A000002,
         notifyFor("copy.test.", 6),
         2,
         false,
         {"Zone Update Notification from 10.0.0.2 about copy.test.",
          "Sending answer to 10.0.0.2 about Zone Update Notification for copy.test.",
          "-> Header: Server Failure (10.0.0.2 not recognized as primary)."}},
        {"for a zone of our own",
         0x0A000001,
         notifyFor("example.test.", 6),
         2,
         false,
         {"Zone Update Notification from 10.0.0.1 about example.test.",
          "Sending answer to 10.0.0.1 about Zone Update Notification for example.test.",
          "-> Header: Server Failure (10.0.0.1 not recognized as primary)."}},
        {"not about an SOA",
         0x0A000001,
         notifyFor("copy.test.", 1),
         4,
         false,
         {"Unknown Notification type from 10.0.0.1",
          "Sending answer to 10.0.0.1 about Unknown Notification type.", "-> Header: Not implemented."}},
        {"cut short", 0x0A000001, truncated, -1, false, {"Incomplete DNS Request from 10.0.0.1"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NotifyFixture f;
        f.host.maxLevel = 0;
        f.dns.ProcReq({c.from, 5300}, c.message);
        EXPECT_EQ(f.rig.counters.RequestCount, 1u);
        EXPECT_EQ(f.host.lines, c.lines);
        EXPECT_EQ(f.queue.queued, c.queued ? Lines{"copy.test."} : Lines{});
        if (c.reply < 0) {
            EXPECT_TRUE(f.host.replies.empty());
            continue;
        }
        ASSERT_EQ(f.host.replies.size(), 1u);
        const Bytes& reply = f.host.replies[0].message;
        EXPECT_EQ(f.host.replies[0].to, (Endpoint{c.from, 5300}));
        EXPECT_EQ(reply.substr(0, 2), c.message.substr(0, 2));
        EXPECT_EQ(static_cast<unsigned char>(reply[2]), 0xA4);
        EXPECT_EQ(reply[3], c.reply);
        EXPECT_EQ(reply.substr(4), c.message.substr(4));
        EXPECT_EQ(f.rig.counters.ReplyCount, c.queued ? 0u : 1u);
    }
}

TEST(Notify, OverTcpOnlyANotificationFromTheZonesPrimaryIsTaken)
{
    NotifyFixture f;
    Bytes sent;
    const auto reply = [&sent](std::string_view message) { sent = message; };
    EXPECT_FALSE(f.notifications.ProcNotifyTcp("10.0.0.2", notifyFor("copy.test.", 6), reply));
    EXPECT_FALSE(f.notifications.ProcNotifyTcp("10.0.0.1", notifyFor("copy.test.", 1), reply));
    EXPECT_FALSE(f.notifications.ProcNotifyTcp("10.0.0.1", notifyFor("copy.test.", 6).substr(0, 22), reply));
    EXPECT_TRUE(f.host.lines.empty());
    EXPECT_TRUE(sent.empty());
    EXPECT_TRUE(f.notifications.ProcNotifyTcp("10.0.0.1", notifyFor("copy.test.", 6), reply));
    EXPECT_EQ(static_cast<unsigned char>(sent[2]), 0xA4);
    EXPECT_EQ(f.queue.queued, Lines{"copy.test."});
    EXPECT_EQ(f.host.lines, (Lines{"Zone Update Notification from 10.0.0.1 about copy.test. (TCP)",
                                   "Sending Notification Acknowledgement to 10.0.0.1"}));
}

TEST(Notify, EachSecondaryGetsOneMessageWithTheNextIdentifierAndItsAcknowledgementIsTaken)
{
    NotifyFixture f;
    f.rig.outgoing.newId(); // identifiers are shared with resolution
    f.notifications.ZoneNotify(*f.store.findZone("example.test."));
    EXPECT_EQ(f.host.lines, (Lines{"Sending Zone Update Notification to 10.0.0.7 about example.test.",
                                   "Sending Zone Update Notification to 10.0.0.9 about example.test."}));
    ASSERT_EQ(f.rig.queries().size(), 2u);
    const Bytes question = Bytes("\x07"
                                 "example\x04test",
                                 13) +
                           Bytes("\0\0\x06\0\x01", 5);
    EXPECT_EQ(f.rig.queries()[0].message, Bytes("\0\x02\x24\0\0\x01\0\0\0\0\0\0", 12) + question);
    EXPECT_EQ(f.rig.queries()[0].to, (Endpoint{0x0A000007, 53}));
    EXPECT_EQ(f.rig.queries()[1].message.substr(0, 2), MakeShort(3));
    EXPECT_EQ(f.rig.queries()[1].to, (Endpoint{0x0A000009, 53}));

    // The secondaries' acknowledgements are ours, not answers nobody asked for.
    f.host.lines.clear();
    for (const auto& sent : f.rig.queries()) {
        Bytes ack = sent.message;
        ack[2] = static_cast<char>(ack[2] | 0x80);
        f.rig.outgoing.datagram(sent.to, ack);
    }
    EXPECT_EQ(f.host.lines, Lines{});

    // A zone without secondaries sends and logs nothing; an address that is none is logged.
    f.notifications.ZoneNotify(*f.store.findZone("open.test."));
    EXPECT_EQ(f.rig.queries().size(), 2u);
    clZone odd("odd.test.", 0);
    odd.Slaves = {"10.0.0.300"};
    f.notifications.ZoneNotify(odd);
    EXPECT_EQ(f.host.lines.back(), "Zone Notify WS Error: 10.0.0.300 is not an IPv4 address");
    EXPECT_EQ(f.rig.queries().size(), 2u);
}

} // namespace
} // namespace quorvane::test
