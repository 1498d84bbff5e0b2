// RecordStore: every record the server answers from (CacheRecords, ordered by owner name) and every
// zone (Zones), with the loaders that fill them from files and the cache rules for learned records.
// One instance, owned by the engine and used on its thread only; nothing here locks, sends or
// reads a clock other than the one it is given.
#pragma once

#include "net/bytes.h"
#include "net/clock.h"
#include "net/error_hook.h"
#include "store/cache_budget.h"
#include "store/dns_record.h"
#include "store/zone.h"
#include "store/zone_parser.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <iterator>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quorvane {

// The settings the store reads; the engine sets them at start and whenever the options change.
struct StoreSettings
{
    std::string hostsPath;   // HOSTS: empty for none; a relative path is taken from the program folder
    int32_t hostsTTL = 3600; // HOSTSTTL, seconds
    int32_t minCacheTTL = 0; // CACHETTL, seconds
    bool aaaa = false;       // AAAARECORDS: IPv6 address records are read from files and kept
    bool moreTypes = false;  // MORERECORDTYPES: SRV and CAA records are read from files and kept
    size_t cacheBytes = CacheBudget::kDefaultBytes; // CACHESIZE: the cap on learned records
};

// How LoadFile keeps the records of a file.
enum class FileRecords {
    Permanent, // root servers and other records that never expire (CacheAddF)
    Learned,   // a saved cache: learned records again, under the cache rules (CacheAdd)
};

// Logged when the hosts file or a file of records is missing.
inline constexpr std::string_view kFileNotFoundLine = "-> File not found!";

// CacheRecordMap (store/cache_budget.h): owner name -> record. Equal names keep the order in
// which they were added; a lookup by std::string_view allocates nothing.

// The records of one name: a pair of positions in CacheRecords, usable in a range-for.
template <typename Position> struct RecordRun
{
    Position first, last;
    Position begin() const { return first; }
    Position end() const { return last; }
    bool empty() const { return first == last; }
    size_t size() const { return static_cast<size_t>(std::distance(first, last)); }
};

class RecordStore
{
public:
    using Log = std::function<void(int level, const std::string& text)>;
    using ZoneNotify = std::function<void(const clZone& zone)>;
    using Iterator = CacheRecordMap::iterator;
    using ConstIterator = CacheRecordMap::const_iterator;

    // log is the engine's AddLine.
    RecordStore(const Clock& clock, std::filesystem::path programFolder, Log log);
    // A lower cache cap drops learned records at once, the closest to expiry first.
    void configure(const StoreSettings& settings);
    // Whether a record of this type read from a file or a transfer is kept: a type of the record-type
    // table when its setting is on, and the store's own entries (DFCN).
    bool keepsType(int type) const;
    // Called by CheckNewZone for each primary zone it loaded (empty PrimaryIP): NOTIFY's hand-off.
    void setZoneNotify(ZoneNotify notify) { m_notify = std::move(notify); }

    // --- CacheRecords and Zones ---------------------------------------------------------------
    const CacheRecordMap& CacheRecords() const { return m_records; }
    size_t recordCount() const { return m_records.size(); }
    // The estimated memory of the learned records, and its cap.
    size_t cacheBytes() const { return m_budget.bytes(); }
    size_t cacheCap() const { return m_budget.cap(); }
    // The run of records of one name (normal form: lower case, trailing "."), in store order.
    // O(log n), no allocation; empty when the name has none.
    RecordRun<Iterator> records(std::string_view name);
    RecordRun<ConstIterator> records(std::string_view name) const;
    // The nearest enclosing zone data among permanent records: from the name itself up to the root,
    // one label at a time, the first name with a permanent SOA gives that SOA; a name with a
    // permanent NS and no SOA is delegated and gives that NS. nullptr when neither was found.
    const clDNSRecord* authoritySearch(std::string_view name) const;
    // The same, for a caller that has looked up the records of name already (run).
    const clDNSRecord* authoritySearch(std::string_view name, RecordRun<ConstIterator> run) const;
    // The record stored under a key of a zone's Records; nullptr once it is gone.
    const clDNSRecord* recordByKey(RecordKey key) const;

    const std::list<clZone>& Zones() const { return m_zones; }
    clZone* findZone(std::string_view name);
    const clZone* findZone(std::string_view name) const;
    // Removes a zone's records from CacheRecords and empties its Records: O(k log n).
    void removeZoneRecords(clZone& zone);
    // Removes the zone of that name and its records; nothing when there is none.
    void removeZone(std::string_view name);
    // The zone's records replaced by these, in their order, as permanent records under new keys.
    // Runs in one go, so no question ever sees part of the old zone and part of the new.
    void replaceZoneRecords(clZone& zone, std::vector<ZoneRecord>&& records);
    // Writes data/<zone>dns atomically: its header lines and, with records, its records
    // (zone_file.h). False, after reporting why, when the file could not be written.
    bool saveZoneFile(const clZone& zone, bool withRecords);

    // --- Cache ------------------------------------------------------------------------------------
    // A record learned from another server: the TTL rules of the cache (raised to the minimum cache
    // time, at most 7 days, 0 kept), marker entries of the name removed by a real record, an equal
    // record (or any CNAME or SOA of the name) refreshed, permanent data never replaced.
    void CacheAdd(std::string_view name, int16_t type, int32_t ttl, Bytes data, int32_t pref);
    // A permanent record read from a file, stored after the records of its name under a new key,
    // which is returned (0 after an unexpected error). Unless keepTTL is set, a TTL from 1 up to
    // the minimum cache time is raised to it.
    RecordKey CacheAddF(std::string name, int16_t type, int32_t ttl, Bytes data, int32_t pref, bool keepTTL);
    // "Clear DNS Cache": every record that is not permanent goes.
    void clearCache();
    // One tick's slice of the housekeeping sweep: count / 300 + 1 records from where the last slice
    // stopped, removing learned records that expired more than 5 seconds ago.
    void sweepCache();
    // Writes "named.cache" (learned records) or, with snapshot, "snapshot.dat" (all records).
    void saveCache(bool snapshot);
    // Reads "named.cache" back as learned records (start-up with CACHERELOAD); a missing file is
    // no error.
    void LoadCache();

    // --- Loading from files ------------------------------------------------------------------------
    // (Re)loads one zone from data/<zone>dns ("_root.dns" for "."); its old records go first.
    void LoadZone(std::string_view zone);
    // Every data/*.dns file; zones loaded from files before are dropped first, others kept.
    void LoadBoot();
    // Each data/*.new file replaces its .dns file and is loaded; primary zones are then notified.
    void CheckNewZone();
    // The hosts file as the "<hosts>" zone: A (or, when kept, AAAA) and PTR for each address's first
    // name, CNAME for the aliases.
    void LoadHosts();
    // The whole reload: zones, named.root, hosts file.
    void LoadPerm();
    // The records of a file in zone-file syntax with the root as origin, kept as kind says; keys go
    // to zone when one is given. Logs the count; a missing file is logged, not reported.
    void LoadFile(const std::filesystem::path& file, FileRecords kind, clZone* zone);

private:
    // Runs one routine's body; an unexpected error is reported under the routine's label and the
    // routine keeps what it had done.
    template <typename Body> void guarded(const char* label, Body&& body)
    {
        try {
            body();
        } catch (const std::exception& e) {
            reportError(label, e.what());
        } catch (...) {
            reportError(label, "unknown error");
        }
    }
    void log(const std::string& text) const;
    Iterator insertRecord(clDNSRecord&& record);
    Iterator eraseRecord(Iterator position);
    int32_t raisedTTL(int32_t ttl) const;
    clZone& addZone(std::string_view name, int16_t type);
    void loadZoneFile(const std::string& zone, const std::filesystem::path& file);
    void makeRoom(size_t bytes);

    const Clock& m_clock;
    std::filesystem::path m_folder;
    Log m_log;
    ZoneNotify m_notify;
    StoreSettings m_settings;
    CacheRecordMap m_records;
    CacheBudget m_budget; // learned records only
    std::unordered_map<RecordKey, Iterator> m_byKey;
    RecordKey m_lastKey = 0;
    Iterator m_sweep; // where the next slice of the sweep starts; end() restarts at the front
    std::list<clZone> m_zones;
};

} // namespace quorvane
