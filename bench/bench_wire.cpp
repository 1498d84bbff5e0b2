// How long the codec takes per query and per answer, and how many heap allocations each costs.
// Every operator new in this program is counted; the figure per iteration is the "allocs" counter.
#include "wire/names.h"
#include "wire/numbers.h"
#include "wire/wire_reader.h"

#include "counting_new.h"

#include <benchmark/benchmark.h>


namespace quorvane {
namespace {

// A query as a stub resolver sends it: www.example.com, type A, class IN, recursion desired.
Bytes typicalQuery()
{
    Bytes query =
        MakeShort(0x1234) + MakeShort(0x0100) + MakeShort(1) + MakeShort(0) + MakeShort(0) + MakeShort(0);
    query += ZipName("www.example.com.", "");
    return query + MakeShort(1) + MakeShort(1);
}

void appendRecord(Bytes& message, std::string_view owner, int type, std::string_view data)
{
    message += ZipName(owner, message);
    message += MakeShort(type);
    message += MakeShort(1);
    message += MakeLong(3600);
    message += MakeShort(static_cast<int32_t>(data.size()));
    message += data;
}

void ReadQuery(benchmark::State& state)
{
    const Bytes query = typicalQuery();
    AllocationCount count(state);
    for (auto _ : state) {
        WireReader r(query, 0);
        for (int field = 0; field < 6; ++field)
            benchmark::DoNotOptimize(r.shortValue());
        std::string name = r.name();
        benchmark::DoNotOptimize(name);
        benchmark::DoNotOptimize(r.shortValue());
        benchmark::DoNotOptimize(r.shortValue());
        benchmark::DoNotOptimize(r.ok());
    }
}
BENCHMARK(ReadQuery);

// The answer to that query: A record, NS in authority, the server's address in additional; every
// name after the question compressed. The buffer is reused, as the server reuses its reply buffer.
void WriteAnswer(benchmark::State& state)
{
    Bytes answer;
    AllocationCount count(state);
    for (auto _ : state) {
        answer.clear();
        answer += MakeShort(0x1234);
        answer += MakeShort(0x8580);
        for (int section : {1, 1, 1, 1})
            answer += MakeShort(section);
        answer += ZipName("www.example.com.", answer);
        answer += MakeShort(1);
        answer += MakeShort(1);
        appendRecord(answer, "www.example.com.", 1, "\x5D\xB8\xD8\x22");
        const Bytes server = ZipName("ns1.example.com.", answer);
        appendRecord(answer, "example.com.", 2, server);
        appendRecord(answer, "ns1.example.com.", 1, "\xC0\x00\x02\x01");
        benchmark::DoNotOptimize(answer.data());
    }
}
BENCHMARK(WriteAnswer);

// Reads back every name and number of the answer above, as recursion reads a server's answer.
void ReadAnswer(benchmark::State& state)
{
    Bytes answer = typicalQuery();
    appendRecord(answer, "www.example.com.", 1, "\x5D\xB8\xD8\x22");
    appendRecord(answer, "example.com.", 2, ZipName("ns1.example.com.", answer));
    appendRecord(answer, "ns1.example.com.", 1, "\xC0\x00\x02\x01");
    AllocationCount count(state);
    for (auto _ : state) {
        WireReader r(answer, 12);
        benchmark::DoNotOptimize(r.name());
        r.bytes(4);
        for (int record = 0; record < 3; ++record) {
            std::string owner = r.name();
            benchmark::DoNotOptimize(owner);
            const int32_t type = r.shortValue();
            r.shortValue();
            benchmark::DoNotOptimize(r.longValue());
            const auto length = static_cast<size_t>(r.shortValue());
            if (type == 2) {
                std::string target = r.name();
                benchmark::DoNotOptimize(target);
            } else {
                benchmark::DoNotOptimize(r.bytes(length));
            }
        }
        benchmark::DoNotOptimize(r.ok());
    }
}
BENCHMARK(ReadAnswer);

} // namespace
} // namespace quorvane

BENCHMARK_MAIN();
