// Reads arbitrary bytes as "named.cache" (learned records under the cache rules) and as
// "snapshot.dat" (records kept as from a file) into one store, under a small cache cap. Any crash,
// sanitizer report or hang is a finding, and so is a cache whose counted size is not the sum of
// its learned records' or lies over the cap.
#include "fuzz_support.h"
#include "store/cache_file.h"
#include "store/record_store.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace quorvane;
    static const test::TempFolder dir;
    for (const char* name : {kCacheFileName, kSnapshotFileName})
        dir.write(name, std::string(fuzz::bytesOf(data, size)));
    test::FakeClock clock;
    RecordStore store(clock, dir.path(), nullptr);
    StoreSettings settings;
    settings.aaaa = settings.moreTypes = true;
    settings.cacheBytes = 4096; // a few records, so that reading often runs over the cap
    store.configure(settings);
    store.LoadCache();
    store.LoadFile(dir.path() / kSnapshotFileName, FileRecords::Permanent, nullptr);
    size_t counted = 0;
    for (const auto& [owner, record] : store.CacheRecords())
        if (!record.Permanent) counted += CacheBudget::costOf(owner, record);
    fuzz::check(counted == store.cacheBytes() && counted <= settings.cacheBytes);
    return 0;
}
