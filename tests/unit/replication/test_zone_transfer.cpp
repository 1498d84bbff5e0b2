// The zone-transfer sender behind the DNS-over-TCP service: answers, refusals and transfers in
// slices; and the service's own connection cap and idle close, through the same wiring.
#include "replication/zone_transfer.h"
#include "replication_fixture.h"

#include "wire/message.h"
#include "wire/numbers.h"
#include "wire/type_names.h"

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
    // What the connection sent, one line a message, after the log lines; empties both.
    std::string transcript(SocketId id)
    {
        std::string out = logLines(host.lines);
        for (const DecodedReply& reply : decodeFramed(network.tcpSent[id])) {
            out += "reply " + std::to_string(reply.id) + " qtype " + std::to_string(reply.qtype) + " rcode " +
                   std::to_string(reply.rcode) + (reply.aa ? " aa" : "") + (reply.rd ? " rd" : "") +
                   (reply.ok ? "" : " BROKEN");
            for (const DecodedRecord& record : reply.records)
                out += " | " + record.name + " " + std::to_string(record.ttl) + " " + RTypeN(record.type) + " " +
                       record.data;
            out += "\n";
        }
        host.lines.clear();
        network.tcpSent[id].clear();
        return out;
    }
};

constexpr uint32_t kListed = 0x0A000007;   // 10.0.0.7
constexpr uint32_t kUnlisted = 0x0A000008; // 10.0.0.8

TEST(ZoneTransfer, EachKindOfRequestGetsItsAnswerRefusalOrSilence)
{
    const auto with = [](Bytes message, size_t at, char value) { return message.replace(at, 1, 1, value); };
    const Bytes noQuestion = makeQuery(8, "a.", 1, false).substr(0, 12) + '\0';
    const std::pair<uint32_t, Bytes> cases[] = {
        {kUnlisted, makeQuery(1, "open.test.", 6, true)},       // the SOA of a zone open to all
        {kUnlisted, makeQuery(2, "example.test.", 252, false)}, // a transfer to an unlisted address
        {kListed, makeQuery(3, "ns.example.test.", 1, true)},   // an ordinary question
        {kListed, makeQuery(4, "other.test.", 252, false)},     // a zone we do not have
        {kListed, with(makeQuery(5, "example.test.", 6, false), 2, 0x10)},       // opcode 2
        {kListed, with(makeQuery(6, "version.bind.", 16, false), 29, 3)},        // class CHAOS
        {kListed, with(noQuestion, 5, 0)},                                       // no question counted
        {kListed, noQuestion.substr(0, 12)},                                     // a header alone
        {kListed, with(makeQuery(7, "example.test.", 252, false), 2, '\x80')}, // a response
    };
    std::string transcript;
    for (const auto& [from, message] : cases) {
        TransferFixture f;
        const SocketId id = f.connect(from);
        f.tcp.DataArrival(id, framed(message));
        const Bytes sent = f.network.tcpSent[id];
        if (sent.size() > 4 && decodeFramed(sent).at(0).rcode != 0) { // refusals echo the request after the flags
            EXPECT_EQ(sent.substr(6), message.substr(4)) << shortAt(message, 0);
        }
        transcript += "request " + std::to_string(shortAt(message, 0)) + "\n" + f.transcript(id);
    }
    expectGolden("transfer_requests.txt", transcript);
}

// A transfer split across segments waits for its last byte; the SOA query that came in the same
// segment is answered after it; an incremental transfer gets the whole zone under its own type.
TEST(ZoneTransfer, ATransferIsOneRecordPerMessageBetweenTwoSOAs)
{
    TransferFixture f;
    const SocketId id = f.connect(kListed);
    const Bytes request = framed(makeQuery(9, "example.test.", 252, true));
    f.tcp.DataArrival(id, request.substr(0, 5));
    EXPECT_TRUE(f.network.tcpSent[id].empty());
    f.tcp.DataArrival(id, request.substr(5) + framed(makeQuery(10, "example.test.", 6, false)));
    EXPECT_EQ(f.rig.counters.RequestCount, 2u);
    std::string transcript = f.transcript(id);
    f.tcp.DataArrival(id, framed(makeQuery(11, "example.test.", 251, false)));
    expectGolden("transfer_whole_zone.txt", transcript + f.transcript(id));
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

// Past the cap a connection is closed at once; the peer closing one frees its place; ten ticks
// without data close one; a blocked address is not served and nothing is accepted while paused.
TEST(DnsTcpService, ConnectionsAreCappedClosedWhenIdleAndReused)
{
    TransferFixture f;
    std::vector<SocketId> ids;
    for (size_t i = 0; i < DnsTcpService::kMaxConnections + 1; ++i)
        ids.push_back(f.connect(kListed));
    EXPECT_FALSE(f.network.isOpen(ids.back()));
    f.clock.advance(std::chrono::milliseconds(5500));
    f.tcp.DataArrival(ids[0], "\x00");
    f.network.peerClose(ids[1]);
    f.tcp.peerClosed(ids[1]);
    const SocketId reused = f.connect(kListed);
    f.clock.advance(std::chrono::milliseconds(4000));
    EXPECT_TRUE(f.network.isOpen(ids[2]));
    f.clock.advance(std::chrono::milliseconds(1000));
    EXPECT_FALSE(f.network.isOpen(ids[2]));
    EXPECT_TRUE(f.network.isOpen(ids[0]) && f.network.isOpen(reused));
    EXPECT_EQ(f.tcp.TCPcon().size(), DnsTcpService::kMaxConnections);
    f.flood.setBlockList({"10.0.0.66"});
    EXPECT_FALSE(f.network.isOpen(f.connect(0x0A000042)));
    EXPECT_FALSE(f.network.isOpen(f.connect(kListed, false)));
    expectGolden("tcp_connections.txt", logLines(f.host.lines));
}

} // namespace
} // namespace quorvane::test
