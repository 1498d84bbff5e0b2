// Reads arbitrary bytes as a zone file, stores every record it yields, writes them out as a
// snapshot and reads that back. Any crash, sanitizer report or hang is a finding, and so is a
// record that breaks the stored form or a snapshot that does not read back to itself.
#include "fuzz_support.h"
#include "store/cache_file.h"
#include "store/record_data.h"
#include "store/record_store.h"
#include "store/zone_parser.h"
#include "store/zone_text.h"

#include <sstream>

namespace {

using namespace quorvane;
using fuzz::check;

// Every record read has its zone-file line; the snapshot's round trip checks that line.
void checkRecord(const ZoneRecord& record)
{
    check(storableName(record.owner));
    check(record.ttl >= 0);
    if (record.type == rtype::DFCN) return check(storableName(record.data));
    clDNSRecord stored;
    stored.RecType = record.type;
    stored.Data = record.data;
    stored.Pref = record.pref;
    check(recordDataText(stored).has_value());
}

// Loads zone-file text into a fresh store and gives back its snapshot text.
std::string storedSnapshot(const std::string& text, std::string_view origin, ZoneComments* comments)
{
    test::FakeClock clock;
    RecordStore store(clock, "/nonexistent", nullptr);
    std::istringstream in(text);
    readZoneText(
        in, origin,
        [&](ZoneRecord&& record) {
            checkRecord(record);
            store.CacheAddF(record.owner, record.type, record.ttl, std::move(record.data), record.pref, true);
        },
        comments);
    return cacheFileText(store.CacheRecords(), clock.now(), true, {true, true});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(fuzz::bytesOf(data, size));
    ZoneComments comments;
    const std::string snapshot = storedSnapshot(text, "fuzz.example.", &comments);
    check(storedSnapshot(snapshot, ".", nullptr) == snapshot);
    return 0;
}
