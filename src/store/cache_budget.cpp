#include "store/cache_budget.h"

#include <cstdio>

namespace quorvane {

namespace {

// What the allocator adds to each block, and what a tree node holds beside its value (colour and
// three links).
constexpr size_t kBlockOverhead = 16;
constexpr size_t kTreeNode = 32;

size_t heapBytes(const std::string& text)
{
    return text.capacity() > std::string().capacity() ? text.capacity() + 1 + kBlockOverhead : 0;
}

} // namespace

size_t CacheBudget::costOf(const std::string& name, const clDNSRecord& record)
{
    constexpr size_t nodes = kTreeNode + sizeof(CacheRecordMap::value_type) + kTreeNode + sizeof(Entry) +
                             2 * kBlockOverhead;
    return nodes + heapBytes(name) + heapBytes(record.Name) + heapBytes(record.Data);
}

void CacheBudget::add(Position position)
{
    m_bytes += costOf(position->first, position->second);
    m_byExpiry.insert({position->second.TimeOut(0), position});
}

void CacheBudget::remove(Position position)
{
    m_bytes -= costOf(position->first, position->second);
    m_byExpiry.erase({position->second.TimeOut(0), position});
}

std::string cacheSizeText(size_t bytes, size_t cap)
{
    constexpr double kMB = 1 << 20;
    char text[64];
    std::snprintf(text, sizeof text, "(%.1f/%.0f MB)", static_cast<double>(bytes) / kMB, static_cast<double>(cap) / kMB);
    return text;
}

} // namespace quorvane
