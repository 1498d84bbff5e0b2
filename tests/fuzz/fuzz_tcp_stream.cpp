// Feeds an arbitrary byte stream, cut into arbitrary segments, to one connection of the
// zone-transfer service, as the peer's data would arrive. Each segment is a length byte (0 stands
// for 256) followed by that many bytes of the stream; after each, the peer is taken to have read
// everything, so transfers go on. The zone served allows transfers to anyone, so SOA answers,
// transfers and refusals are all reached. The stream's last byte switches questions over TCP, EDNS
// and AAAA on or off, so ordinary questions reach the DNS service and come back on the connection.
// The same segments also arrive as a TLS forwarder's answers on the outgoing side.
// Any crash, sanitizer report or hang is a finding.
#include "fuzz_support.h"
#include "query/flood_guard.h"
#include "replication/zone_transfer.h"

namespace {

using namespace quorvane;

// One zone, as the loader reads it from its file.
struct Service : test::DnsFixture
{
    Service()
    {
        folder.write("data/fuzz.test.dns", "; NotSecure\n"
                                           "@ 60 IN SOA ns.fuzz.test. admin.fuzz.test. 1 60 60 600 60\n"
                                           "@ 60 IN NS ns\n"
                                           "ns 60 IN A 10.0.0.1\n"
                                           "@ 60 IN MX 10 mx\n"
                                           "t 60 IN TXT \"abc\"\n");
        store.LoadZone("fuzz.test.");
        tcp.setMessages(&server);
    }
    FloodGuard flood{[](const std::string&) {}, [](const std::string&) {}};
    DnsTcpService tcp{rig.network, clock, host, dns.answerer(), flood};
    ZoneTransferServer server{clock, host, store, tcp, rig.counters};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Service s;
    static SocketId next = 1;
    const SocketId connection = next++;
    const std::string_view input = fuzz::bytesOf(data, size);
    QuerySettings settings;
    const unsigned flags = input.empty() ? 0 : static_cast<unsigned char>(input.back());
    settings.tcpQueries = (flags & 1) != 0;
    settings.edns = (flags & 2) != 0;
    settings.aaaa = settings.moreTypes = (flags & 4) != 0;
    s.dns.configure(settings);
    s.tcp.connectionRequest(connection, {0x0A000001, 5353}, true);
    s.rig.outgoing.sendTls({0x0A000002, 853}, "forwarder.test", std::string(12, '\0'));
    const SocketId forwarder = s.rig.network.connects.empty() ? kNoSocket : s.rig.network.connects.rbegin()->first;
    s.rig.outgoing.tcpConnected(forwarder);
    fuzz::forEachSegment(input, [&](std::string_view segment) {
        s.tcp.DataArrival(connection, segment);
        s.rig.outgoing.tcpData(forwarder, segment);
        s.tcp.drained(connection);
    });
    // Whatever transfer is still running is sent to its end, then the peer goes.
    for (int slices = 0; slices < 1000; ++slices)
        s.tcp.drained(connection);
    s.tcp.peerClosed(connection);
    s.rig.outgoing.tcpClosed(forwarder);
    s.rig.network.close(forwarder);
    fuzz::forget(s);
    return 0;
}
