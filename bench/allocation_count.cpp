// Heap allocations per answer from each kind of local data, logging off: a zone name, a hosts-file
// name, a leased name and its address's PTR, and a cached name. Each should answer without
// allocating; the "allocs" counter says how far off it is.
#include "counting_new.h"
#include "query_fixture.h"

#include <benchmark/benchmark.h>

namespace quorvane::bench {
namespace {

void Answer(benchmark::State& state, const std::string& name, int type = 1)
{
    QueryFixture f;
    const Bytes question = query(name, type);
    f.dns.ProcReq({0x7F000001, 5353}, question); // the first answer may size the reused buffers
    const size_t before = f.host.bytes;
    AllocationCount count(state);
    for (auto _ : state)
        f.dns.ProcReq({0x7F000001, 5353}, question);
    if (f.host.bytes == before) state.SkipWithError("no answer was sent");
}
BENCHMARK_CAPTURE(Answer, ZoneHit, std::string("host4242.bench.test."));
BENCHMARK_CAPTURE(Answer, HostsHit, std::string("printer-upstairs.home.lan."));
BENCHMARK_CAPTURE(Answer, LeaseHit, std::string("desktop-kitchen.home.lan."));
BENCHMARK_CAPTURE(Answer, LeasePtrHit, std::string("50.1.168.192.in-addr.arpa."), 12);
BENCHMARK_CAPTURE(Answer, CacheHit, std::string("www.example-shop.com."));

} // namespace
} // namespace quorvane::bench

BENCHMARK_MAIN();
