// The text of "named.cache" and "snapshot.dat": records in zone-file syntax, a repeated owner left
// out. Pure: the file itself is written by RecordStore::saveCache.
#pragma once

#include "net/clock.h"
#include "store/record_store.h"

#include <string>
#include <string_view>

namespace quorvane {

inline constexpr std::string_view kCacheFileHeader = "; Quorvane - Cache";
inline constexpr const char* kCacheFileName = "named.cache";
inline constexpr const char* kSnapshotFileName = "snapshot.dat";

// The header line, then one line per record in store order: learned records only, or all with
// snapshot; records past their expiry (negative TTL), records files cannot carry, and records of
// types not switched on, are left out.
// A line starts with the owner, or with the blank alone when the previous line had the same one.
std::string cacheFileText(const CacheRecordMap& records, DateTime now, bool snapshot, TypeSwitches on);

} // namespace quorvane
