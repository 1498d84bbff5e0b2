// CacheBudget: the memory the learned records take, against the CacheSize cap, and the order in
// which they go when a new one would not fit. Permanent records (zones, hosts file, root hints)
// and lease answers never enter it, so they are never counted and never dropped.
//
// The order is by expiry, the record closest to it first, not by last use: a record about to
// expire is worth least, and keeping a use order would mean bookkeeping on every cache hit, on an
// answer path that allocates nothing and touches nothing but the records it reads.
#pragma once

#include "store/dns_record.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>

namespace quorvane {

using CacheRecordMap = std::multimap<std::string, clDNSRecord, std::less<>>;

class CacheBudget
{
public:
    using Position = CacheRecordMap::iterator;
    static constexpr size_t kDefaultBytes = size_t{32} << 20;

    void setCap(size_t bytes) { m_cap = bytes; }
    size_t cap() const { return m_cap; }
    size_t bytes() const { return m_bytes; }
    // A learned record entered the store, or is about to leave it (or to change: leave, change,
    // enter again).
    void add(Position position);
    void remove(Position position);
    // Whether a record of that many bytes more would not fit; nextToGo() is then the one to drop.
    bool over(size_t more) const { return !m_byExpiry.empty() && m_bytes + more > m_cap; }
    Position nextToGo() const { return m_byExpiry.begin()->position; }
    // An estimate of what one learned record costs: its node in the store and in the expiry order,
    // and the heap blocks of its strings.
    static size_t costOf(const std::string& name, const clDNSRecord& record);

private:
    struct Entry {
        DateTime expiry;
        Position position;
        bool operator<(const Entry& other) const
        {
            if (expiry != other.expiry) return expiry < other.expiry;
            return &position->second < &other.position->second;
        }
    };
    std::set<Entry> m_byExpiry;
    size_t m_bytes = 0;
    size_t m_cap = kDefaultBytes;
};

// "(3.1/32 MB)": the cache's estimated size against its cap, for the status bar and the report.
std::string cacheSizeText(size_t bytes, size_t cap);

} // namespace quorvane
