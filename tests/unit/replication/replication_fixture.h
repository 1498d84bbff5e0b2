// Shared by the replication tests: a store with a few zones on a fake clock, the query path's
// counters, a fake network and a recording host, and a queue that records the zones put on it.
#pragma once

#include "query/flood_guard.h"
#include "replication/zone_queue.h"
#include "support/dns_fixture.h"

#include "support/call_table.h"

#include <string>
#include <vector>

namespace quorvane::test {

inline void expectGolden(const std::string& name, const std::string& actual)
{
    expectGoldenFile(std::filesystem::path(QUORVANE_REPLICATION_DATA) / name, actual);
}

// The host's log lines, one "log: " line each.
inline std::string logLines(const Lines& lines)
{
    std::string out;
    for (const std::string& line : lines)
        out += "log: " + line + "\n";
    return out;
}

struct RecordingQueue : ZoneQueue
{
    void Que(const std::string& zone) override { queued.push_back(zone); }
    Lines queued;
};

// example.test.: SOA, NS, A; transfers only to 10.0.0.7 and 10.0.0.9, which are notified.
// open.test.: anyone may transfer. copy.test.: a secondary zone whose primary is 10.0.0.1.
inline const char* const kExampleZone =
    "; Notify 10.0.0.7 10.0.0.9\n"
    "@ 3600 IN SOA ns.example.test. admin.example.test. 7 3600 600 86400 300\n"
    "@ 3600 IN NS ns.example.test.\n"
    "ns 300 IN A 10.0.0.2\n";

struct ReplicationFixture : DnsFixture
{
    FakeNetwork network;
    FloodGuard flood{[](const std::string&) {}, [](const std::string&) {}};
    RecordingQueue queue;

    ReplicationFixture()
    {
        folder.write("data/example.test.dns", kExampleZone);
        folder.write("data/open.test.dns",
                     "; NotSecure\n@ 60 IN SOA ns.open.test. a.open.test. 1 60 60 600 60\n");
        folder.write("data/copy.test.dns", "; PrimaryIP 10.0.0.1\n@ 60 IN SOA ns.x. a.x. 1 60 60 600 60\n");
        store.LoadPerm();
        host.lines.clear();
    }
};

} // namespace quorvane::test
