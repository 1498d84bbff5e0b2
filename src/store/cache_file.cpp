// Writing the cache file and the snapshot.
#include "store/cache_file.h"

#include "net/atomic_file.h"
#include "net/error_hook.h"
#include "store/record_data.h"
#include "store/zone_text.h"

namespace quorvane {

std::string cacheFileText(const CacheRecordMap& records, DateTime now, bool snapshot, TypeSwitches on)
{
    std::string text(kCacheFileHeader);
    text += "\n";
    // The owner of the last line written; "*" matches none. A record left out does not count, or
    // the next line would take on an owner that was never written.
    std::string_view previous = "*";
    for (const auto& [owner, record] : records) {
        if (record.Permanent && !snapshot) continue;
        const int32_t ttl = record.TTL(now);
        if (ttl < 0 || !storableName(owner)) continue;
        const RecordType* row = findRecordType(record.RecType);
        const auto data = row != nullptr && switchedOn(*row, on) ? recordDataText(record) : std::nullopt;
        if (!data) continue;
        if (owner != previous) text += owner;
        previous = owner;
        text += ' ';
        text += std::to_string(ttl);
        text += ' ';
        text += *data;
        text += "\n";
    }
    return text;
}

void RecordStore::saveCache(bool snapshot)
{
    guarded("modDNS saveCache", [&] {
        const std::filesystem::path file = m_folder / (snapshot ? kSnapshotFileName : kCacheFileName);
        if (!writeFileAtomically(file, cacheFileText(m_records, m_clock.now(), snapshot,
                                                     {m_settings.aaaa, m_settings.moreTypes})))
            reportError("modDNS saveCache", "Cannot write " + file.string());
    });
}

} // namespace quorvane
