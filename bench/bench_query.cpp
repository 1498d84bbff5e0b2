// CPU and heap allocations per answered query on the query path alone (no sockets): intake, local
// lookup and the reply, against a zone of 10 000 names, with logging off. The callgrind target
// for tuning the answer path.
#include "counting_new.h"
#include "query_fixture.h"

#include <benchmark/benchmark.h>

namespace quorvane::bench {
namespace {

void AnswerQueries(benchmark::State& state)
{
    QueryFixture f;
    std::vector<Bytes> queries;
    for (int i = 0; i < 1000; ++i)
        queries.push_back(query((i % 10 == 9 ? "missing" : "host") + std::to_string(i * 7 % 10000) + ".bench.test."));
    size_t i = 0;
    AllocationCount count(state);
    for (auto _ : state) f.dns.ProcReq({0x7F000001, 5353}, queries[i++ % queries.size()]);
    benchmark::DoNotOptimize(f.host.bytes);
}
BENCHMARK(AnswerQueries);

} // namespace
} // namespace quorvane::bench

BENCHMARK_MAIN();
