#include "query/dns_service.h"
#include "support/fake_clock.h"
#include "support/outgoing_rig.h"
#include "support/recording_query_host.h"

#include <gtest/gtest.h>

namespace quorvane::test {

namespace {

constexpr Endpoint kClient{0x0A000005, 40000}; // 10.0.0.5

// A query: identifier, flags byte 2, question count, then the question.
Bytes query(uint16_t id, unsigned flags, const std::string& wireName, uint16_t type, uint16_t dnsClass,
            uint16_t questions = 1)
{
    Bytes m;
    m += static_cast<char>(id >> 8);
    m += static_cast<char>(id & 0xFF);
    m += static_cast<char>(flags);
    m += '\0';
    m += static_cast<char>(questions >> 8);
    m += static_cast<char>(questions & 0xFF);
    m += std::string(6, '\0');
    m += wireName;
    m += static_cast<char>(type >> 8);
    m += static_cast<char>(type & 0xFF);
    m += static_cast<char>(dnsClass >> 8);
    m += static_cast<char>(dnsClass & 0xFF);
    return m;
}

const std::string kExampleOrg("\7example\3org\0", 13);

struct Intake {
    FakeClock clock{fromCalendar({2026, 11, 22, 10, 0, 42})};
    RecordingQueryHost host;
    OutgoingRig rig;
    RecordStore store{clock, "/nonexistent", [](int, const std::string&) {}};
    DnsService dns{host, clock, store, rig.counters, rig.outgoing};
};

} // namespace

TEST(Intake, NotImplementedRepliesEchoTheRequest)
{
    struct Case {
        Bytes message;
        std::vector<std::string> lines;
    };
    const Case cases[] = {
        {query(0x1234, 0x09, kExampleOrg, 1, 1), // opcode 1, RD set
         {"Inverse Query Request from 10.0.0.5", "Sending answer to 10.0.0.5 about Inverse Query Request",
          "-> Header: Not implemented."}},
        {query(0xFFFF, 0x01, kExampleOrg, 16, 3),
         {"DNS Request from 10.0.0.5 for CHAOS class record",
          "Sending answer to 10.0.0.5 about CHAOS class record", "-> Header: Not implemented."}},
        {query(7, 0x00, kExampleOrg, 252, 1),
         {"Request from 10.0.0.5 for AXFR-record for example.org.",
          "Sending answer to 10.0.0.5 about AXFR-record for example.org.", "-> Header: Not implemented."}},
        {query(8, 0x04, kExampleOrg, 13, 1) + "trailing", // HINFO, AA set in the query, bytes after
         {"Request from 10.0.0.5 for HINFO-record for example.org.",
          "Sending answer to 10.0.0.5 about HINFO-record for example.org.", "-> Header: Not implemented."}},
    };
    for (const auto& c : cases) {
        Intake t;
        t.dns.ProcReq(kClient, c.message);
        EXPECT_EQ(t.host.lines, c.lines);
        ASSERT_EQ(t.host.replies.size(), 1u);
        const Bytes& reply = t.host.replies[0].message;
        EXPECT_EQ(t.host.replies[0].to, kClient);
        Bytes expected = c.message;
        expected[2] = static_cast<char>(static_cast<unsigned char>(c.message[2]) | 0x80);
        expected[3] = static_cast<char>(0x84);
        EXPECT_EQ(reply, expected);
        EXPECT_EQ(t.rig.counters.ReplyCount, 1u);
        EXPECT_EQ(t.host.tray, 1);
        EXPECT_TRUE(t.dns.resolver().PendingRequests.empty());
    }
}

TEST(Intake, IncompleteRequestsGetNoReply)
{
    const Bytes cases[] = {
        Bytes(12, '\0'),                                           // header only
        query(1, 0, kExampleOrg, 1, 1, 0),                         // no question
        query(1, 0, kExampleOrg, 1, 1).substr(0, 12 + 13 + 3),     // question cut inside its class
        Bytes("\0\1\0\0\0\1\0\0\0\0\0\0\5ab", 15),                 // name cut short
    };
    for (const auto& message : cases) {
        Intake t;
        t.dns.ProcReq(kClient, message);
        EXPECT_EQ(t.host.lines, std::vector<std::string>{"Incomplete DNS Request from 10.0.0.5"});
        EXPECT_TRUE(t.host.replies.empty());
        EXPECT_TRUE(t.dns.resolver().PendingRequests.empty());
        EXPECT_EQ(t.rig.counters.RequestCount, 1u);
    }
}

TEST(Intake, SupportedQuestionsAreReadAndAnswered)
{
    Intake t;
    // Mixed case on the wire; no local data and no recursion asked: an empty answer at once.
    t.dns.ProcReq(kClient, query(0xBEEF, 0x00, std::string("\3WWW\7Example\3ORG\0", 17), 15, 1));
    EXPECT_EQ(t.host.lines, (std::vector<std::string>{"Request from 10.0.0.5 for MX-record for www.example.org.",
                                                      "Sending reply to 10.0.0.5 about MX-record for www.example.org.:"}));
    ASSERT_EQ(t.host.replies.size(), 1u);
    const Bytes& reply = t.host.replies[0].message;
    EXPECT_EQ(reply.substr(0, 4), Bytes("\xBE\xEF\x80\x80", 4)); // identifier kept, QR, RA
    EXPECT_EQ(reply.substr(12), Bytes("\3www\7example\3org\0\0\x0F\0\1", 21));
    EXPECT_TRUE(t.dns.resolver().PendingRequests.empty()); // answered at once: nothing left pending

    for (int type : {255, 1, 2, 5, 6, 12, 16}) t.dns.ProcReq(kClient, query(1, 0, kExampleOrg, static_cast<uint16_t>(type), 1));
    EXPECT_EQ(t.host.replies.size(), 8u);
    for (const auto& r : t.host.replies) EXPECT_EQ(r.message[3] & 0x0F, 0) << "response code";
}

TEST(Intake, CountersAndNoLogTextWhenLoggingIsOff)
{
    Intake t;
    t.host.maxLevel = -1; // the host fails the test if a line is built anyway
    t.rig.counters.RequestsPerSecond[43] = 99;
    t.dns.ProcReq(kClient, query(1, 0, kExampleOrg, 1, 1));
    t.dns.ProcReq({0x0A000006, 53}, query(2, 0x08, kExampleOrg, 1, 1));
    EXPECT_EQ(t.rig.counters.RequestCount, 2u);
    EXPECT_EQ(t.rig.counters.RequestsPerSecond[42], 2); // both in the same second's slot
    EXPECT_EQ(t.rig.counters.RequestsPerSecond[43], 0); // the slot ahead is cleared
    EXPECT_TRUE(t.host.lines.empty());
    EXPECT_EQ(t.host.replies.size(), 2u); // one answer, one not-implemented reply

    t.clock.set(fromCalendar({2026, 11, 22, 10, 0, 59}));
    t.rig.counters.RequestsPerSecond[0] = 5;
    t.dns.ProcReq(kClient, query(3, 0, kExampleOrg, 1, 1));
    EXPECT_EQ(t.rig.counters.RequestsPerSecond[59], 1);
    EXPECT_EQ(t.rig.counters.RequestsPerSecond[0], 0); // wraps to slot 0
}

} // namespace quorvane::test
