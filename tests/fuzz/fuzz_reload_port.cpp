// Feeds arbitrary bytes to the reload port as a datagram from this machine, to a server holding a
// primary and a secondary zone. Any crash, sanitizer report or hang is a finding.
#include "fuzz_support.h"
#include "replication/reload_port.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using namespace quorvane;

std::filesystem::path folder()
{
    const auto path = fuzz::scratchFolder("quorvane-fuzz-reload-port");
    std::filesystem::create_directories(path / "data");
    std::ofstream(path / "data" / "fuzz.test.dns") << "@ 60 IN SOA ns.fuzz.test. a.fuzz.test. 1 60 60 600 60\n"
                                                     "@ 60 IN NS ns.other.test.\n";
    std::ofstream(path / "data" / "copy.test.dns") << "; PrimaryIP 127.0.0.9\n"
                                                     "@ 60 IN SOA ns.copy.test. a.copy.test. 1 60 60 600 60\n";
    return path;
}

class NoQueue : public ZoneQueue
{
public:
    void Que(const std::string&) override {}
};

struct Server
{
    fuzz::StillClock clock;
    fuzz::QuietHost host;
    fuzz::SinkNetwork network;
    RecordStore store{clock, folder(), [](int, const std::string&) {}};
    RequestCounters counters;
    OutgoingQueries outgoing{network};
    NoQueue queue;
    ZoneNotifications notifications{host, store, counters, outgoing, queue};
    ReloadPort port{host, store, notifications, queue, [] { return true; }};

    Server() { outgoing.open(false); }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Server s;
    s.store.LoadPerm();
    s.port.DataArrival({0x7F000001, 50000}, std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}
