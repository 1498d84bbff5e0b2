// Feeds arbitrary bytes to the reload port as a datagram from this machine, to a server holding a
// primary and a secondary zone. Any crash, sanitizer report or hang is a finding.
#include "fuzz_support.h"
#include "replication/reload_port.h"

namespace {

using namespace quorvane;

struct NoQueue : ZoneQueue
{
    void Que(const std::string&) override {}
};

struct Server : test::DnsFixture
{
    Server()
    {
        folder.write("data/fuzz.test.dns", "@ 60 IN SOA ns.fuzz.test. a.fuzz.test. 1 60 60 600 60\n"
                                           "@ 60 IN NS ns.other.test.\n");
        folder.write("data/copy.test.dns", "; PrimaryIP 127.0.0.9\n"
                                           "@ 60 IN SOA ns.copy.test. a.copy.test. 1 60 60 600 60\n");
    }
    NoQueue queue;
    ZoneNotifications notifications{host, store, rig.counters, rig.outgoing, queue};
    ReloadPort port{host, store, notifications, queue, [] { return true; }};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Server s;
    s.store.LoadPerm();
    s.port.DataArrival({0x7F000001, 50000}, fuzz::bytesOf(data, size));
    fuzz::forget(s);
    return 0;
}
