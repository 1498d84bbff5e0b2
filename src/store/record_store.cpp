#include "store/record_store.h"

#include "wire/names.h"

#include <algorithm>

namespace quorvane {

namespace {

// A learned record is never kept longer than a week, whatever its TTL or the settings say.
constexpr int32_t kMaxCacheTTL = 604800;
// The sweep removes records this long past their expiry; answers still use them until then.
constexpr int32_t kSweepGrace = 5;
// The sweep visits one record more per this many records, so each is seen about every 5 minutes.
constexpr size_t kSweepSpread = 300;

} // namespace

RecordStore::RecordStore(const Clock& clock, std::filesystem::path programFolder, Log log)
    : m_clock(clock), m_folder(std::move(programFolder)), m_log(std::move(log)), m_sweep(m_records.end())
{
}

void RecordStore::configure(const StoreSettings& settings)
{
    m_settings = settings;
    m_budget.setCap(settings.cacheBytes);
    makeRoom(0);
}

// Drops learned records, the closest to expiry first, until that many bytes more fit under the cap.
void RecordStore::makeRoom(size_t bytes)
{
    while (m_budget.over(bytes)) eraseRecord(m_budget.nextToGo());
}

bool RecordStore::keepsType(int type) const
{
    const RecordType* row = findRecordType(type);
    return row == nullptr || switchedOn(*row, {m_settings.aaaa, m_settings.moreTypes});
}

void RecordStore::log(const std::string& text) const
{
    if (m_log) m_log(0, text);
}

namespace {

// One descent of the tree, then a walk to the end of the run: a name holds a few records, and the
// answer path looks names up several times per question, so this beats equal_range's two descents.
template <typename Map> auto runOf(Map& records, std::string_view name)
{
    auto first = records.lower_bound(name);
    auto last = first;
    while (last != records.end() && last->first == name) ++last;
    return RecordRun<decltype(first)>{first, last};
}

} // namespace

RecordRun<RecordStore::Iterator> RecordStore::records(std::string_view name)
{
    return runOf(m_records, name);
}

RecordRun<RecordStore::ConstIterator> RecordStore::records(std::string_view name) const
{
    return runOf(m_records, name);
}

const clDNSRecord* RecordStore::authoritySearch(std::string_view name) const
{
    return authoritySearch(name, records(name));
}

const clDNSRecord* RecordStore::authoritySearch(std::string_view name, RecordRun<ConstIterator> run) const
{
    while (!name.empty()) {
        const clDNSRecord* delegation = nullptr;
        for (const auto& [owner, record] : run) {
            if (!record.Permanent) continue;
            if (record.RecType == rtype::SOA) return &record;
            if (record.RecType == rtype::NS && !delegation) delegation = &record;
        }
        if (delegation) return delegation;
        if (name == ".") break;
        // The root comes last, so that a server holding "_root.dns" is authoritative below it. A
        // text without a dot is no name in normal form and has no enclosing zone.
        if (name.find('.') == std::string_view::npos) break;
        name = parentName(name);
        run = records(name);
    }
    return nullptr;
}

const clDNSRecord* RecordStore::recordByKey(RecordKey key) const
{
    const auto found = m_byKey.find(key);
    return found == m_byKey.end() ? nullptr : &found->second->second;
}

clZone* RecordStore::findZone(std::string_view name)
{
    for (clZone& zone : m_zones)
        if (zone.Name == name) return &zone;
    return nullptr;
}

const clZone* RecordStore::findZone(std::string_view name) const
{
    for (const clZone& zone : m_zones)
        if (zone.Name == name) return &zone;
    return nullptr;
}

clZone& RecordStore::addZone(std::string_view name, int16_t type)
{
    clZone& zone = m_zones.emplace_back(std::string(name), m_clock.now());
    zone.ZoneType = type;
    return zone;
}

void RecordStore::removeZoneRecords(clZone& zone)
{
    for (RecordKey key : zone.Records)
        if (const auto found = m_byKey.find(key); found != m_byKey.end()) eraseRecord(found->second);
    zone.Records.clear();
}

void RecordStore::removeZone(std::string_view name)
{
    for (auto zone = m_zones.begin(); zone != m_zones.end(); ++zone) {
        if (zone->Name != name) continue;
        removeZoneRecords(*zone);
        m_zones.erase(zone);
        return;
    }
}

void RecordStore::replaceZoneRecords(clZone& zone, std::vector<ZoneRecord>&& records)
{
    removeZoneRecords(zone);
    zone.Records.reserve(records.size());
    for (ZoneRecord& record : records) {
        const RecordKey key = CacheAddF(std::move(record.owner), record.type, record.ttl,
                                        std::move(record.data), record.pref, true);
        if (key != 0) zone.Records.push_back(key);
    }
}

RecordStore::Iterator RecordStore::insertRecord(clDNSRecord&& record)
{
    // A multimap puts an equal key after those already there: a new record lands at the end of the
    // run of its name, so a zone's records of one name keep their file order.
    std::string owner = record.Name;
    const Iterator position = m_records.emplace(std::move(owner), std::move(record));
    if (position->second.Key != 0) m_byKey.emplace(position->second.Key, position);
    if (!position->second.Permanent) m_budget.add(position);
    return position;
}

RecordStore::Iterator RecordStore::eraseRecord(Iterator position)
{
    if (position->second.Key != 0) m_byKey.erase(position->second.Key);
    if (!position->second.Permanent) m_budget.remove(position);
    const bool sweepsHere = m_sweep == position;
    const Iterator next = m_records.erase(position);
    if (sweepsHere) m_sweep = next; // the next record moves into the sweep's place
    return next;
}

int32_t RecordStore::raisedTTL(int32_t ttl) const
{
    const int32_t minimum = m_settings.minCacheTTL;
    return ttl > minimum || ttl == 0 ? ttl : minimum;
}

void RecordStore::CacheAdd(std::string_view name, int16_t type, int32_t ttl, Bytes data, int32_t pref)
{
    guarded("modDNS CacheAdd", [&] {
        ttl = std::min(raisedTTL(ttl), kMaxCacheTTL);
        const DateTime now = m_clock.now();
        const bool real = type < rtype::kMarkerBase;
        auto [position, last] = m_records.equal_range(name);
        while (position != last) {
            clDNSRecord& record = position->second;
            if (record.RecType != type) {
                // A real record ends what the markers said: the name exists, and so does this type.
                const bool marker =
                    record.RecType == rtype::kNameMarker || record.RecType == type + rtype::kMarkerBase;
                if (real && marker && !record.Permanent)
                    position = eraseRecord(position);
                else
                    ++position;
                continue;
            }
            if (record.Permanent) return; // learned data never replaces permanent data
            // One CNAME and one SOA per name: a new one replaces the old.
            if (record.Data == data || type == rtype::CNAME || type == rtype::SOA) {
                m_budget.remove(position); // its expiry and size change
                record.setTTL(ttl, now);
                record.Data = std::move(data);
                record.Pref = pref;
                m_budget.add(position);
                makeRoom(0); // new data may be longer
                return;
            }
            ++position;
        }
        clDNSRecord record;
        record.RecType = type;
        record.Name = std::string(name);
        record.Data = std::move(data);
        record.Pref = pref;
        record.setTTL(ttl, now);
        makeRoom(CacheBudget::costOf(record.Name, record));
        insertRecord(std::move(record));
    });
}

RecordKey RecordStore::CacheAddF(std::string name, int16_t type, int32_t ttl, Bytes data, int32_t pref,
                                 bool keepTTL)
{
    RecordKey key = 0;
    guarded("modDNS CacheAddF", [&] {
        clDNSRecord record;
        record.Permanent = true;
        record.RecType = type;
        record.Name = std::move(name);
        record.Data = std::move(data);
        record.Pref = pref;
        record.setTTL(keepTTL ? ttl : raisedTTL(ttl), m_clock.now());
        record.Key = m_lastKey + 1;
        insertRecord(std::move(record));
        key = ++m_lastKey;
    });
    return key;
}

void RecordStore::clearCache()
{
    guarded("modDNS ClearCache", [&] {
        for (Iterator position = m_records.begin(); position != m_records.end();)
            position = position->second.Permanent ? std::next(position) : eraseRecord(position);
    });
}

void RecordStore::sweepCache()
{
    const DateTime now = m_clock.now();
    for (size_t visit = m_records.size() / kSweepSpread + 1; visit > 0; --visit) {
        if (m_sweep == m_records.end()) m_sweep = m_records.begin();
        if (m_sweep == m_records.end()) return;
        const clDNSRecord& record = m_sweep->second;
        if (!record.Permanent && record.TTL(now) < -kSweepGrace)
            eraseRecord(m_sweep);
        else
            ++m_sweep;
    }
}

} // namespace quorvane
