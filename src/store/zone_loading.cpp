// The loaders of RecordStore: zone files, the data folder as a whole, new zone files and the
// files of root records and saved cache. The hosts file has its own file (hosts_file.cpp).
#include "store/record_data.h"
#include "store/record_store.h"
#include "store/zone_parser.h"

#include "net/error_hook.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <set>
#include <vector>

namespace quorvane {

namespace {

constexpr std::string_view kZoneExtension = "dns";
constexpr std::string_view kNewZoneExtension = "new";

int32_t toInterval(uint32_t seconds)
{
    return static_cast<int32_t>(std::min<uint32_t>(seconds, std::numeric_limits<int32_t>::max()));
}

// The regular files of folder whose names end in "." + extension, in name order; none when the
// folder is missing.
std::vector<std::string> filesEndingIn(const std::filesystem::path& folder, std::string_view extension)
{
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (entry->is_regular_file(error) && name.ends_with("." + std::string(extension)))
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

void RecordStore::LoadZone(std::string_view zone)
{
    guarded("modDNS LoadZone", [&] {
        const std::string name(zone);
        loadZoneFile(name, m_folder / "data" / zoneFileName(name, kZoneExtension));
    });
}

void RecordStore::loadZoneFile(const std::string& zone, const std::filesystem::path& file)
{
    removeZone(zone);
    log("Loading Zone: " + zoneDisplayName(zone));
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        reportError("modDNS LoadZone", "File not found: " + file.string());
        return;
    }
    // The zone joins Zones before its first record, so that whatever an error leaves loaded can
    // still be removed with it.
    clZone& target = addZone(zone, zonetype::File);
    ZoneComments comments;
    readZoneText(
        in, zone,
        [&](ZoneRecord&& record) {
            if (!keepsType(record.type)) return;
            if (const auto soa = record.type == rtype::SOA ? readSoa(record.data) : std::nullopt) {
                target.Serial = soa->serial;
                target.RefreshIV = toInterval(soa->refresh);
                target.RetryIV = toInterval(soa->retry);
                target.ExpireIV = toInterval(soa->expire);
            }
            const RecordKey key = CacheAddF(std::move(record.owner), record.type, record.ttl,
                                            std::move(record.data), record.pref, true);
            if (key != 0) target.Records.push_back(key);
        },
        &comments);
    target.PrimaryIP = comments.primaryIP;
    target.Slaves = std::move(comments.notify);
    target.Secure = !comments.notSecure;
    target.ZoneType = target.PrimaryIP.empty() ? zonetype::File : zonetype::Secondary;
    // A copy read from its file counts as checked now: it keeps answering for its expiry time
    // even when its primary cannot be reached at start.
    if (target.ZoneType == zonetype::Secondary) target.Expires = addSeconds(m_clock.now(), target.ExpireIV);
}

void RecordStore::LoadBoot()
{
    guarded("modDNS LoadBoot", [&] {
        log("Loading DNS Records...");
        for (auto zone = m_zones.begin(); zone != m_zones.end();) {
            if (zone->ZoneType != zonetype::File) {
                ++zone;
                continue;
            }
            removeZoneRecords(*zone);
            zone = m_zones.erase(zone);
        }
        const std::filesystem::path data = m_folder / "data";
        for (const std::string& file : filesEndingIn(data, kZoneExtension)) {
            // The file's own name is opened, so that a name in capitals loads as its lower-case zone.
            const std::string zone = zoneFromFileName(file, kZoneExtension);
            if (!zone.empty()) loadZoneFile(zone, data / file);
        }
    });
}

void RecordStore::CheckNewZone()
{
    guarded("modDNS CheckNewZone", [&] {
        const std::filesystem::path data = m_folder / "data";
        std::set<std::string> unusable; // names that stand for no zone stay where they are
        for (;;) {
            // The listing is taken anew after each file, so files that arrive meanwhile are seen.
            std::string file;
            for (const std::string& candidate : filesEndingIn(data, kNewZoneExtension))
                if (!unusable.contains(candidate)) {
                    file = candidate;
                    break;
                }
            if (file.empty()) return;
            const std::string zone = zoneFromFileName(file, kNewZoneExtension);
            if (zone.empty()) {
                unusable.insert(file);
                continue;
            }
            log("New zone file discovered: " + zoneDisplayName(zone));
            const std::filesystem::path target = data / zoneFileName(zone, kZoneExtension);
            std::error_code error;
            std::filesystem::remove(target, error);
            std::filesystem::rename(data / file, target, error);
            if (error) {
                // The same file would come up again at once: leave it for the next scan.
                reportError("modDNS CheckNewZone", file + ": " + error.message());
                return;
            }
            loadZoneFile(zone, target);
            // A secondary zone learns of changes from its primary; only our own zones are announced.
            if (const clZone* loaded = findZone(zone); loaded && loaded->PrimaryIP.empty() && m_notify)
                m_notify(*loaded);
        }
    });
}

void RecordStore::LoadPerm()
{
    guarded("modDNS LoadPerm", [&] {
        LoadBoot();
        log("Loading root DNS server records...");
        // The root records form a group of their own, so that a reload replaces them instead of
        // adding a second set.
        removeZone(kRootHintsZone);
        LoadFile(m_folder / "named.root", FileRecords::Permanent,
                 &addZone(kRootHintsZone, zonetype::RootHints));
        LoadHosts();
    });
}

void RecordStore::LoadCache()
{
    LoadFile(m_folder / "named.cache", FileRecords::Learned, nullptr);
}

void RecordStore::LoadFile(const std::filesystem::path& file, FileRecords kind, clZone* zone)
{
    guarded("modDNS LoadFile", [&] {
        std::ifstream in(file, std::ios::binary);
        if (!in) {
            log(std::string(kFileNotFoundLine));
            return;
        }
        size_t count = 0;
        readZoneText(
            in, ".",
            [&](ZoneRecord&& record) {
                if (!keepsType(record.type)) return;
                ++count;
                if (kind == FileRecords::Learned) {
                    CacheAdd(record.owner, record.type, record.ttl, std::move(record.data), record.pref);
                    return;
                }
                const RecordKey key = CacheAddF(std::move(record.owner), record.type, record.ttl,
                                                std::move(record.data), record.pref, false);
                if (zone && key != 0) zone->Records.push_back(key);
            },
            nullptr);
        log("-> " + std::to_string(count) + " records loaded from " + file.filename().string());
    });
}

} // namespace quorvane
