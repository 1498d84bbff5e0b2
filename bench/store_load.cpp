// Loads one zone file or one hosts file into a fresh RecordStore and prints the load time, the
// record count, the peak resident memory, and what a name lookup costs (time and heap allocations).
//   store_load zone <program folder> <zone name>   (reads <folder>/data/<zone>dns)
//   store_load hosts <hosts file>
#include "counting_new.h"
#include "store/record_store.h"

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace quorvane;
using Seconds = std::chrono::duration<double>;

class SteadyClock : public Clock
{
public:
    DateTime now() const override { return 20000.5; }
    TimerId startTimer(std::chrono::milliseconds, std::function<void()>) override { return 0; }
    void stopTimer(TimerId) override {}
};

long peakKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: store_load zone <folder> <zone> | store_load hosts <file>\n");
        return 2;
    }
    const std::string mode = argv[1];
    const bool zone = mode == "zone" && argc == 4;
    SteadyClock clock;
    RecordStore store(clock, zone ? argv[2] : ".", nullptr);
    const auto start = std::chrono::steady_clock::now();
    if (zone) {
        store.LoadZone(argv[3]);
    } else {
        store.configure({argv[2], 3600, 0});
        store.LoadHosts();
    }
    const Seconds loaded = std::chrono::steady_clock::now() - start;
    const long loadedKiB = peakKiB(); // before the lookup test's own list of names

    // Look up every owner name of the store once, a few times over.
    std::vector<std::string> names;
    for (const auto& [owner, record] : store.CacheRecords())
        names.push_back(owner);
    const size_t before = allocationsSoFar();
    size_t found = 0;
    const auto lookStart = std::chrono::steady_clock::now();
    for (int round = 0; round < 5; ++round)
        for (const std::string& name : names)
            found += store.records(name).size();
    const Seconds looked = std::chrono::steady_clock::now() - lookStart;
    const size_t lookAllocations = allocationsSoFar() - before;

    std::printf("records %zu\nload_seconds %.3f\nrss_after_load_kib %ld\n", store.recordCount(),
                loaded.count(), loadedKiB);
    std::printf("lookups %zu (found %zu)\nlookup_ns %.0f\nlookup_allocations %zu\n", names.size() * 5, found,
                looked.count() * 1e9 / static_cast<double>(names.size() * 5), lookAllocations);
    return store.recordCount() > 0 ? 0 : 1;
}
