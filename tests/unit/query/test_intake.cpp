#include "support/golden_questions.h"

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

// Each case's log lines, replies (as bytes) and counters are in the golden file: a not-implemented
// reply echoes the request with QR set and RCODE 4; an incomplete request gets none.
TEST(Intake, NotImplementedRepliesEchoTheRequestAndIncompleteOnesGetNone)
{
    const std::pair<std::string, Bytes> cases[] = {
        {"opcode 1, RD set", query(0x1234, 0x09, 1)},
        {"CHAOS class", query(0xFFFF, 0x01, 16, 3)},
        {"AXFR over UDP", query(7, 0x00, 252)},
        {"HINFO with bytes after the question", query(8, 0x04, 13) + "trailing"},
        {"header only, no question", Bytes(12, '\0')},
        {"cut inside its class", query(1, 0, 1).substr(0, 12 + 13 + 3)},
        {"name cut short", Bytes("\0\1\0\0\0\1\0\0\0\0\0\0\5ab", 15)},
    };
    std::string transcript;
    for (const auto& [what, message] : cases) {
        DnsFixture f;
        f.dns.ProcReq(kClient, message);
        EXPECT_TRUE(f.dns.resolver().PendingRequests.empty());
        transcript += "== " + what + "\n" + logAndSent(f, 0);
        for (const auto& reply : f.host.replies) {
            transcript += "reply to " + addressText(reply.to.address) + ':' + std::to_string(reply.to.port);
            for (const char byte : reply.message) transcript += " " + std::to_string(static_cast<unsigned char>(byte));
            transcript += '\n';
        }
        transcript += "requests " + std::to_string(f.rig.counters.RequestCount) + ", replies " +
                      std::to_string(f.rig.counters.ReplyCount) + ", tray " + std::to_string(f.host.tray) + '\n';
    }
    expectGoldenFile(QUORVANE_SCENARIO_DATA "/intake_not_implemented.txt", transcript);
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
