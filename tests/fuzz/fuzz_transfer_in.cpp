// Feeds arbitrary bytes to the secondary-zone client as a primary's answers would arrive. The first
// byte chooses what they answer: even, a zone transfer, as a byte stream cut into segments (each a
// length byte, 0 standing for 256, then that many bytes of the stream); odd, the SOA query, as one
// datagram under the query's own identifier. A transfer that asks again without its marker is
// connected again at once, so the stream goes on to the second request. Any crash, sanitizer
// report or hang is a finding.
#include "fuzz_support.h"
#include "query/dns_service.h"
#include "replication/secondary_zones.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

using namespace quorvane;
using fuzz::QuietHost;
using fuzz::SinkNetwork;
using fuzz::StillClock;

constexpr const char* kZone = "fuzz.test.";

// Remembers the last datagram sent (the SOA query), so that an answer can take its identifier.
class QueryNetwork : public SinkNetwork
{
public:
    SocketId bindUdp(const std::string&, uint16_t) override { return ++lastConnection; }
    void sendTo(SocketId, const Endpoint&, std::string_view message) override { query = message; }
    Bytes query;
};

// Every completed transfer writes the zone file.
std::filesystem::path makeFolder()
{
    const auto folder = fuzz::scratchFolder("quorvane-fuzz-transfer-in");
    std::filesystem::create_directories(folder / "data");
    std::ofstream(folder / "data" / "fuzz.test.dns")
        << "; PrimaryIP 10.0.0.1\n"
           "@ 60 IN SOA ns.fuzz.test. a.fuzz.test. 1 60 60 600 60\n";
    return folder;
}

struct Client
{
    StillClock clock;
    QuietHost host;
    QueryNetwork network;
    RecordStore store{clock, makeFolder(), [](int, const std::string&) {}};
    RequestCounters counters;
    OutgoingQueries outgoing{network};
    DnsService dns{host, clock, store, counters, outgoing};
    ctlZTS zts{network, clock, host, store, outgoing, [](const clZone&) {}, [] { return true; }};

    Client() { outgoing.open(false); }

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
    while (!input.empty()) {
        if (c.zts.state() == ctlZTS::Connecting) c.zts.connected();
        const size_t length =
            std::min<size_t>(input[0] == 0 ? 256 : static_cast<unsigned char>(input[0]), input.size() - 1);
        c.zts.DataArrival(input.substr(1, length));
        input.remove_prefix(1 + length);
    }
    c.zts.peerClosed();
}

void soaAnswer(Client& c, std::string_view input)
{
    c.zts.Que(kZone);
    if (c.network.query.size() < 2 || input.size() < 2) return;
    Bytes answer(input);
    answer[0] = c.network.query[0];
    answer[1] = c.network.query[1];
    c.outgoing.datagram({}, answer);
    if (c.zts.state() == ctlZTS::Connecting) c.zts.connected();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Client c;
    if (size == 0) return 0;
    c.reset();
    const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
    if (data[0] % 2 == 0)
        transfer(c, input);
    else
        soaAnswer(c, input);
    return 0;
}
