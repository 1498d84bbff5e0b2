// The compact name set: linear probing, slot chosen by multiplying the hash into the table's size
// (any size, so the finished table can be sized to its names), kept at most seven tenths full.
#include "filter/name_set.h"

#include <functional>
#include <limits>

namespace quorvane {

namespace {

uint64_t hashOf(std::string_view name)
{
    // libstdc++'s string hash, spread once more so that both the tag and the slot get good bits.
    uint64_t h = std::hash<std::string_view>{}(name);
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdULL;
    return h ^ (h >> 29);
}

uint8_t tagOf(uint64_t hash) { return static_cast<uint8_t>(hash % 255 + 1); }

size_t slotsFor(size_t names) { return names * 10 / 7 + 16; }

} // namespace

std::string_view NameSet::nameAt(uint32_t offset) const
{
    const char* at = m_arena.data() + offset;
    return {at + 1, static_cast<unsigned char>(*at)};
}

size_t NameSet::slotOf(std::string_view name, uint64_t hash) const
{
    const size_t size = m_slots.size();
    const uint8_t tag = tagOf(hash);
    size_t i = static_cast<size_t>(((hash >> 32) * size) >> 32); // the top 32 bits scaled to the size
    for (;; i = i + 1 == size ? 0 : i + 1) {
        if (m_tags[i] == 0) return i;
        if (m_tags[i] == tag && nameAt(m_slots[i]) == name) return i;
    }
}

bool NameSet::insert(std::string_view name)
{
    if (name.empty() || name.size() > kMaxName) return false;
    // Offsets are 32-bit; an arena that large is far beyond any list this server reads.
    if (m_arena.size() + name.size() + 1 >= std::numeric_limits<uint32_t>::max()) return false;
    if ((m_count + 1) * 10 > m_slots.size() * 7) rebuild(slotsFor(m_count * 2));
    const uint64_t hash = hashOf(name);
    const size_t slot = slotOf(name, hash);
    if (m_tags[slot] != 0) return false;
    m_tags[slot] = tagOf(hash);
    m_slots[slot] = static_cast<uint32_t>(m_arena.size());
    m_arena.push_back(static_cast<char>(name.size()));
    m_arena.insert(m_arena.end(), name.begin(), name.end());
    ++m_count;
    return true;
}

void NameSet::rebuild(size_t slots)
{
    std::vector<uint8_t> oldTags(slots, 0);
    std::vector<uint32_t> oldSlots(slots, 0);
    oldTags.swap(m_tags);
    oldSlots.swap(m_slots);
    for (size_t i = 0; i < oldTags.size(); ++i) {
        if (oldTags[i] == 0) continue;
        const std::string_view name = nameAt(oldSlots[i]);
        const size_t slot = slotOf(name, hashOf(name));
        m_tags[slot] = oldTags[i];
        m_slots[slot] = oldSlots[i];
    }
}

bool NameSet::contains(std::string_view name) const
{
    return m_count != 0 && m_tags[slotOf(name, hashOf(name))] != 0;
}

std::string_view NameSet::findSelfOrParent(std::string_view name) const
{
    if (m_count == 0) return {};
    for (;;) {
        if (const size_t slot = slotOf(name, hashOf(name)); m_tags[slot] != 0) return nameAt(m_slots[slot]);
        const size_t dot = name.find('.');
        if (dot == std::string_view::npos) return {};
        name.remove_prefix(dot + 1);
    }
}

void NameSet::reserve(size_t listBytes)
{
    m_arena.reserve(listBytes);
    // A list line is a name and at least a few bytes more ("0.0.0.0 ", "||" and "^", the line end);
    // names of common lists average over 20 bytes.
    if (m_count == 0) rebuild(slotsFor(listBytes / 24));
}

void NameSet::shrink()
{
    // Another pass over millions of names is worth it only for a table well over its size.
    if (slotsFor(m_count) * 5 / 4 < m_slots.size()) rebuild(slotsFor(m_count));
}

} // namespace quorvane
