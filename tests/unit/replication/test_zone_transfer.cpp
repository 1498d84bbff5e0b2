// The zone-transfer sender behind the DNS-over-TCP service: answers, refusals and transfers in
// slices; and the service's own connection cap and idle close, through the same wiring.
#include "replication/zone_transfer.h"
#include "replication_fixture.h"

#include "wire/message.h"
#include "wire/numbers.h"

#include <gtest/gtest.h>

namespace quorvane::test {
namespace {

struct TransferFixture : ReplicationFixture
{
    DnsTcpService tcp{network, clock, host, dns.answerer(), flood};
    ZoneTransferServer server{clock, host, store, tcp, rig.counters};

    TransferFixture() { tcp.setMessages(&server); }

    SocketId connect(uint32_t address, bool running = true)
    {
        const SocketId id = network.connect(kNoSocket, {address, 40000});
        tcp.connectionRequest(id, {address, 40000}, running);
        return id;
    }
};

constexpr uint32_t kListed = 0x0A000007;   // 10.0.0.7
constexpr uint32_t kUnlisted = 0x0A000008; // 10.0.0.8

TEST(ZoneTransfer, EachKindOfRequestGetsItsAnswerRefusalOrSilence)
{
    Bytes status = makeQuery(5, "example.test.", 6, false);
    status[2] = 0x10; // opcode 2
    Bytes chaos = makeQuery(6, "version.bind.", 16, false);
    chaos[chaos.size() - 1] = 3;
    Bytes response = makeQuery(7, "example.test.", 252, false);
    response[2] = '\x80';
    const Bytes noQuestion = makeQuery(8, "a.", 1, false).substr(0, 12) + '\0';
    Bytes questionless = noQuestion;
    questionless[5] = 0;

    struct Case
    {
        const char* what;
        uint32_t from;
        Bytes message;
        int rcode;    // -1: no reply
        Lines answer; // the records of a single reply
        Lines lines;
    };
    const Case cases[] = {
        {"SOA of an open zone",
         kUnlisted,
         makeQuery(1, "open.test.", 6, true),
         0,
         {"open.test. SOA ns.open.test. a.open.test. 1"},
         {"Request from 10.0.0.8 for SOA-record for open.test. (TCP)",
          "Sending reply to 10.0.0.8 about SOA-record for open.test. (TCP):",
          "-> Answer: SOA-record for open.test. = ns.open.test. (Serial 1)"}},
        {"transfer to an unlisted address",
         kUnlisted,
         makeQuery(2, "example.test.", 252, false),
         5,
         {},
         {"Zone Transfer Request from 10.0.0.8 for example.test.",
          "Sending answer to 10.0.0.8 about Zone Transfer for example.test.", "-> Header: Refused."}},
        {"an ordinary question",
         kListed,
         makeQuery(3, "ns.example.test.", 1, true),
         5,
         {},
         {"Request from 10.0.0.7 for A-record for ns.example.test. (TCP)",
          "Sending answer to 10.0.0.7 about A-record for ns.example.test.", "-> Header: Refused."}},
        {"a zone we do not have",
         kListed,
         makeQuery(4, "other.test.", 252, false),
         5,
         {},
         {"Zone Transfer Request from 10.0.0.7 for other.test.",
          "Sending answer to 10.0.0.7 about Zone Transfer for other.test.", "-> Header: Refused."}},
        {"another opcode", kListed, status, 4, {}, {"Server Status Request from 10.0.0.7 (TCP)"}},
        {"another class", kListed, chaos, 4, {}, {"DNS Request from 10.0.0.7 for CHAOS class record (TCP)"}},
        {"no question", kListed, questionless, -1, {}, {"Incomplete DNS Request from 10.0.0.7 (TCP)"}},
        {"12 bytes", kListed, noQuestion.substr(0, 12), -1, {}, {}},
        {"a response", kListed, response, -1, {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TransferFixture f;
        const SocketId id = f.connect(c.from);
        f.tcp.DataArrival(id, framed(c.message));
        EXPECT_EQ(f.host.lines, c.lines);
        const auto replies = decodeFramed(f.network.tcpSent[id]);
        if (c.rcode < 0) {
            EXPECT_TRUE(replies.empty());
            continue;
        }
        ASSERT_EQ(replies.size(), 1u);
        EXPECT_TRUE(replies[0].qr);
        EXPECT_EQ(replies[0].id, shortAt(c.message, 0));
        EXPECT_EQ(replies[0].rcode, c.rcode);
        EXPECT_EQ(replies[0].section(2), c.answer);
        if (c.rcode != 0) { // refusals echo the request after the flags
            EXPECT_EQ(f.network.tcpSent[id].substr(6), c.message.substr(4));
        }
    }
}

TEST(ZoneTransfer, ATransferIsOneRecordPerMessageBetweenTwoSOAs)
{
    TransferFixture f;
    const SocketId id = f.connect(kListed);
    const Bytes request = framed(makeQuery(9, "example.test.", 252, true));
    // Split across segments: nothing happens until the last byte is there.
    f.tcp.DataArrival(id, request.substr(0, 5));
    EXPECT_TRUE(f.network.tcpSent[id].empty());
    f.tcp.DataArrival(id, request.substr(5) + framed(makeQuery(10, "example.test.", 6, false)));

    const auto replies = decodeFramed(f.network.tcpSent[id]);
    ASSERT_EQ(replies.size(), 5u);
    const Lines expected[] = {{"example.test. SOA ns.example.test. admin.example.test. 7"},
                              {"example.test. NS ns.example.test."},
                              {"ns.example.test. A 10.0.0.2"},
                              {"example.test. SOA ns.example.test. admin.example.test. 7"}};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_TRUE(replies[i].ok && replies[i].aa && replies[i].rd);
        EXPECT_EQ(replies[i].id, 9);
        EXPECT_EQ(replies[i].qtype, 252);
        EXPECT_EQ(replies[i].section(2), expected[i]);
    }
    EXPECT_EQ(replies[2].records[0].ttl, 300);
    // The SOA query that came in the same segment is answered after the transfer.
    EXPECT_EQ(replies[4].id, 10);
    EXPECT_EQ(replies[4].qtype, 6);
    EXPECT_EQ(f.rig.counters.RequestCount, 2u);
    EXPECT_EQ(f.host.lines[1], "Sending Zone Transfer to 10.0.0.7 for example.test.");

    // An incremental transfer gets the whole zone, under its own question type.
    f.network.tcpSent[id].clear();
    f.tcp.DataArrival(id, framed(makeQuery(11, "example.test.", 251, false)));
    const auto whole = decodeFramed(f.network.tcpSent[id]);
    ASSERT_EQ(whole.size(), 4u);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(whole[i].qtype, 251);
        EXPECT_EQ(whole[i].section(2), expected[i]);
    }
    EXPECT_EQ(f.host.lines.back(), "Sending Zone Transfer to 10.0.0.7 for example.test.");
}

TEST(ZoneTransfer, ALargeZoneGoesOutInSlicesAsThePeerTakesThem)
{
    TransferFixture f;
    std::string zone = "; NotSecure\n@ 60 IN SOA ns.big.test. a.big.test. 3 60 60 600 60\n";
    for (int i = 0; i < 5000; ++i)
        zone += "host" + std::to_string(i) + " 60 IN TXT \"some text to make it longer\"\n";
    f.folder.write("data/big.test.dns", zone);
    f.store.LoadZone("big.test.");
    const SocketId id = f.connect(kUnlisted);
    f.tcp.DataArrival(id, framed(makeQuery(11, "big.test.", 252, false)));

    size_t slices = 1;
    for (size_t last = 0; f.network.tcpSent[id].size() != last; ++slices) {
        last = f.network.tcpSent[id].size();
        EXPECT_LE(last, slices * 70000);          // never much more than one slice ahead of the peer
        f.clock.advance(std::chrono::seconds(3)); // a slow peer is not cut off while it reads
        f.network.drain(id);
        f.tcp.drained(id);
    }
    EXPECT_GT(slices, 4u);
    const auto replies = decodeFramed(f.network.tcpSent[id]);
    ASSERT_EQ(replies.size(), 5002u);
    EXPECT_EQ(replies.front().section(2), replies.back().section(2));
    EXPECT_EQ(replies[5000].records.at(0).name, "host4999.big.test.");

    // A zone reloaded during a transfer ends it: the rest would not fit what was sent.
    const SocketId second = f.connect(kUnlisted);
    f.tcp.DataArrival(second, framed(makeQuery(12, "big.test.", 252, false)));
    f.store.LoadZone("big.test.");
    f.tcp.drained(second);
    EXPECT_FALSE(f.network.isOpen(second));
    EXPECT_EQ(f.host.lines.back(),
              "Zone Transfer to 10.0.0.8 for big.test. stopped - the zone changed meanwhile");
}

TEST(DnsTcpService, ConnectionsAreCappedClosedWhenIdleAndReused)
{
    TransferFixture f;
    std::vector<SocketId> ids;
    for (size_t i = 0; i < DnsTcpService::kMaxConnections + 2; ++i)
        ids.push_back(f.connect(kListed));
    EXPECT_EQ(f.tcp.TCPcon().size(), DnsTcpService::kMaxConnections);
    EXPECT_FALSE(f.network.isOpen(ids[256]));
    EXPECT_FALSE(f.network.isOpen(ids[257]));
    EXPECT_EQ(f.host.lines,
              Lines{"TCP Connection Request from 10.0.0.7 closed - 256 connections are open already"});

    // Data keeps one alive; the peer closing another frees its element at once.
    f.clock.advance(std::chrono::milliseconds(5500));
    f.tcp.DataArrival(ids[0], "\x00");
    f.network.peerClose(ids[1]);
    f.tcp.peerClosed(ids[1]);
    const SocketId reused = f.connect(kListed);
    EXPECT_TRUE(f.network.isOpen(reused));
    EXPECT_EQ(f.host.lines.size(), 1u);

    f.clock.advance(std::chrono::milliseconds(4000));
    EXPECT_TRUE(f.network.isOpen(ids[2]));
    f.clock.advance(std::chrono::milliseconds(1000)); // ten ticks without data
    EXPECT_FALSE(f.network.isOpen(ids[2]));
    EXPECT_TRUE(f.network.isOpen(ids[0]));
    EXPECT_TRUE(f.network.isOpen(reused));
    f.clock.advance(std::chrono::milliseconds(6000));
    EXPECT_FALSE(f.network.isOpen(ids[0]));
    EXPECT_FALSE(f.network.isOpen(reused));
    EXPECT_EQ(f.tcp.TCPcon().size(), DnsTcpService::kMaxConnections);

    // A blocked address is logged and not served; nothing is accepted while paused.
    f.flood.setBlockList({"10.0.0.66"});
    EXPECT_FALSE(f.network.isOpen(f.connect(0x0A000042)));
    EXPECT_EQ(f.host.lines.back(), "TCP Connection Request from 10.0.0.66 on Block list. Ignored!");
    EXPECT_FALSE(f.network.isOpen(f.connect(kListed, false)));
    EXPECT_EQ(f.host.lines.size(), 2u);
}

} // namespace
} // namespace quorvane::test
