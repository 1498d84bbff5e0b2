// CPU and heap allocations per answered query on the query path alone (no sockets): intake, local
// lookup and the reply, against a zone of 10 000 names, with logging off.
#include "allocation_count.h"
#include "query/dns_service.h"
#include "wire/names.h"
#include "wire/numbers.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>

namespace quorvane {
namespace {

struct StillClock : Clock {
    DateTime now() const override { return fromCalendar({2026, 11, 22, 12, 0, 0}); }
    TimerId startTimer(std::chrono::milliseconds, std::function<void()>) override { return 0; }
    void stopTimer(TimerId) override {}
};

struct CountingHost : QueryHost {
    bool wants(int) const override { return false; }
    void AddLine(int, const std::string&) override {}
    void sendDns(const Endpoint&, std::string_view message) override { bytes += message.size(); }
    void sendDns2(const Endpoint&, std::string_view) override {}
    void DoTray(int) override {}
    void appendDailyLog(const std::string&, const std::string&) override {}
    size_t bytes = 0;
};

Bytes query(const std::string& name)
{
    Bytes q = MakeShort(0x1234) + MakeShort(0x0100) + MakeShort(1) + MakeShort(0) + MakeShort(0) + MakeShort(0);
    return q + ZipName(name, "") + MakeShort(1) + MakeShort(1);
}

struct Fixture {
    StillClock clock;
    CountingHost host;
    std::filesystem::path folder = std::filesystem::temp_directory_path() / "quorvane-bench-query";
    RecordStore store{clock, folder, [](int, const std::string&) {}};
    DnsService dns{host, clock, store};
    std::vector<Bytes> queries;

    Fixture()
    {
        std::filesystem::create_directories(folder / "data");
        std::ofstream zone(folder / "data" / "bench.test.dns");
        zone << "@ IN SOA ns.bench.test. admin.bench.test. 1 3600 600 86400 300\n@ IN NS ns\nns IN A 10.0.0.1\n";
        for (int i = 0; i < 10000; ++i) zone << "host" << i << " IN A 10.1." << i / 256 << '.' << i % 256 << '\n';
        zone.close();
        store.LoadBoot();
        for (int i = 0; i < 1000; ++i)
            queries.push_back(query((i % 10 == 9 ? "missing" : "host") + std::to_string(i * 7 % 10000) + ".bench.test."));
    }
    ~Fixture() { std::filesystem::remove_all(folder); }
};

void AnswerQueries(benchmark::State& state)
{
    Fixture f;
    size_t i = 0;
    AllocationCount count(state);
    for (auto _ : state) {
        f.dns.ProcReq({0x7F000001, 5353}, f.queries[i++ % f.queries.size()]);
    }
    benchmark::DoNotOptimize(f.host.bytes);
}
BENCHMARK(AnswerQueries);

} // namespace
} // namespace quorvane

BENCHMARK_MAIN();
