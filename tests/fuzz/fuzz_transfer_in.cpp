// Feeds arbitrary bytes to the secondary-zone client as a primary's answers would arrive. The first
// byte chooses what they answer: even, a zone transfer, as a byte stream cut into segments (each a
// length byte, 0 standing for 256, then that many bytes of the stream); odd, the SOA query, as one
// datagram under the query's own identifier. A transfer that asks again without its marker is
// connected again at once, so the stream goes on to the second request. Any crash, sanitizer
// report or hang is a finding.
#include "fuzz_support.h"
#include "replication/secondary_zones.h"

namespace {

using namespace quorvane;

constexpr const char* kZone = "fuzz.test.";

// Every completed transfer writes the zone file.
struct Client : test::DnsFixture
{
    Client()
    {
        folder.write("data/fuzz.test.dns", "; PrimaryIP 10.0.0.1\n"
                                           "@ 60 IN SOA ns.fuzz.test. a.fuzz.test. 1 60 60 600 60\n");
    }
    ctlZTS zts{rig.network, clock, host, store, rig.outgoing, [](const clZone&) {}, [] { return true; }};

    // The zone as its file has it: one SOA, so a check starts with the SOA query.
    void reset()
    {
        zts.closeAll();
        StoreSettings settings;
        settings.aaaa = settings.moreTypes = true; // every type of the table reaches the reader
        store.configure(settings);
        store.LoadZone(kZone);
    }
};

void transfer(Client& c, std::string_view input)
{
    if (clZone* zone = c.store.findZone(kZone)) c.store.removeZoneRecords(*zone); // taken at once
    c.zts.Que(kZone);
    fuzz::forEachSegment(input, [&](std::string_view segment) {
        if (c.zts.state() == ctlZTS::Connecting) c.zts.connected();
        c.zts.DataArrival(segment);
    });
    c.zts.peerClosed();
}

void soaAnswer(Client& c, std::string_view input)
{
    c.zts.Que(kZone);
    // The answer takes the identifier of the SOA query just sent.
    const auto& sent = c.rig.network.sent;
    if (sent.empty() || sent.back().data.size() < 2 || input.size() < 2) return;
    Bytes answer(input);
    answer.replace(0, 2, sent.back().data.substr(0, 2));
    c.rig.outgoing.datagram({}, answer);
    if (c.zts.state() == ctlZTS::Connecting) c.zts.connected();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Client c;
    if (size == 0) return 0;
    c.reset();
    const std::string_view input = fuzz::bytesOf(data + 1, size - 1);
    if (data[0] % 2 == 0)
        transfer(c, input);
    else
        soaAnswer(c, input);
    fuzz::forget(c);
    return 0;
}
