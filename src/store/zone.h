// clZone, a zone's settings and the keys of its records, and the names of zone files.
// Plain data and pure functions; no file is touched here.
#pragma once

#include "net/clock.h"
#include "store/dns_record.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

// What a zone is; the one place these codes are decided.
namespace zonetype {
inline constexpr int16_t File = 0;      // loaded from its own file in data/, this server is primary
inline constexpr int16_t Secondary = 1; // loaded from a file that names its primary ("; PRIMARYIP ")
inline constexpr int16_t Hosts = 2;     // the "<hosts>" group of the hosts file's records
inline constexpr int16_t RootHints = 3; // the "<named.root>" group of the root server records
} // namespace zonetype

inline constexpr std::string_view kHostsZone = "<hosts>";
inline constexpr std::string_view kRootHintsZone = "<named.root>";

class clZone
{
public:
    std::string Name; // "." for the root zone
    int16_t ZoneType = zonetype::File;
    std::vector<RecordKey> Records; // keys of the zone's records in CacheRecords, in file order
    double Serial = 0;
    std::vector<std::string> Slaves; // dotted addresses to notify of changes
    bool Secure = true;              // transfers only to known servers
    std::string PrimaryIP;           // the primary of a secondary zone
    int32_t RefreshIV = 300;         // seconds
    int32_t RetryIV = 300;
    int32_t ExpireIV = 0;
    DateTime Expires = 0;
    DateTime NextRefresh = 0;

    // A new zone: the defaults above, with both dates at now.
    clZone(std::string name, DateTime now) : Name(std::move(name)), Expires(now), NextRefresh(now) {}
};

// The zone name as log lines show it: "<root>" for ".".
std::string zoneDisplayName(std::string_view zone);
// "sub.zone." + extension ("dns" or "new"); "_root." + extension for the root zone.
std::string zoneFileName(std::string_view zone, std::string_view extension);
// The zone a file in data/ stands for ("sub.zone.dns" gives "sub.zone.", "_root.dns" gives "."),
// lower-cased; empty when the file name does not end in "." + extension or names no valid zone.
std::string zoneFromFileName(std::string_view fileName, std::string_view extension);

} // namespace quorvane
