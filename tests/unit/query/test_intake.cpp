#include "support/dns_fixture.h"

#include <gtest/gtest.h>

namespace quorvane::test {

namespace {

// A question for example.org. with header byte 2 and the question's class as given.
Bytes query(uint16_t id, unsigned flags, uint16_t type, uint16_t dnsClass = 1)
{
    Bytes m = makeQuery(id, "example.org.", type, false);
    m[2] = static_cast<char>(flags);
    m[m.size() - 1] = static_cast<char>(dnsClass);
    return m;
}

} // namespace

TEST(Intake, NotImplementedRepliesEchoTheRequestAndIncompleteOnesGetNone)
{
    struct Case {
        Bytes message;
        std::string firstLine; // the reply then echoes the request; "Incomplete ..." gets none
    };
    const Case cases[] = {
        {query(0x1234, 0x09, 1), "Inverse Query Request from 10.0.0.5"}, // opcode 1, RD set
        {query(0xFFFF, 0x01, 16, 3), "DNS Request from 10.0.0.5 for CHAOS class record"},
        {query(7, 0x00, 252), "Request from 10.0.0.5 for AXFR-record for example.org."},
        {query(8, 0x04, 13) + "trailing", "Request from 10.0.0.5 for HINFO-record for example.org."},
        {Bytes(12, '\0'), "Incomplete DNS Request from 10.0.0.5"}, // header only, no question
        {query(1, 0, 1).substr(0, 12 + 13 + 3), "Incomplete DNS Request from 10.0.0.5"}, // cut inside its class
        {Bytes("\0\1\0\0\0\1\0\0\0\0\0\0\5ab", 15), "Incomplete DNS Request from 10.0.0.5"}, // name cut short
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.firstLine);
        DnsFixture f;
        f.dns.ProcReq(kClient, c.message);
        ASSERT_FALSE(f.host.lines.empty());
        EXPECT_EQ(f.host.lines[0], c.firstLine);
        EXPECT_TRUE(f.dns.resolver().PendingRequests.empty());
        if (c.firstLine.starts_with("Incomplete")) {
            EXPECT_EQ(f.host.lines.size(), 1u);
            EXPECT_TRUE(f.host.replies.empty());
            EXPECT_EQ(f.rig.counters.RequestCount, 1u);
            continue;
        }
        EXPECT_EQ(f.host.lines.back(), "-> Header: Not implemented.");
        ASSERT_EQ(f.host.replies.size(), 1u);
        EXPECT_EQ(f.host.replies[0].to, kClient);
        Bytes expected = c.message;
        expected[2] = static_cast<char>(static_cast<unsigned char>(c.message[2]) | 0x80);
        expected[3] = static_cast<char>(0x84);
        EXPECT_EQ(f.host.replies[0].message, expected);
        EXPECT_EQ(f.rig.counters.ReplyCount, 1u);
        EXPECT_EQ(f.host.tray, 1);
    }
}

TEST(Intake, CountersAndNoLogTextWhenLoggingIsOff)
{
    DnsFixture f(fromCalendar({2026, 11, 22, 10, 0, 42}));
    f.host.maxLevel = -1; // the host fails the test if a line is built anyway
    f.rig.counters.RequestsPerSecond[43] = 99;
    f.dns.ProcReq(kClient, query(1, 0, 1));
    f.dns.ProcReq({0x0A000006, 53}, query(2, 0x08, 1));
    EXPECT_EQ(f.rig.counters.RequestCount, 2u);
    EXPECT_EQ(f.rig.counters.RequestsPerSecond[42], 2); // both in the same second's slot
    EXPECT_EQ(f.rig.counters.RequestsPerSecond[43], 0); // the slot ahead is cleared
    EXPECT_TRUE(f.host.lines.empty());
    EXPECT_EQ(f.host.replies.size(), 2u); // one answer, one not-implemented reply

    f.clock.set(fromCalendar({2026, 11, 22, 10, 0, 59}));
    f.rig.counters.RequestsPerSecond[0] = 5;
    f.dns.ProcReq(kClient, query(3, 0, 1));
    EXPECT_EQ(f.rig.counters.RequestsPerSecond[59], 1);
    EXPECT_EQ(f.rig.counters.RequestsPerSecond[0], 0); // wraps to slot 0
}

} // namespace quorvane::test
