// The compact name set: linear probing over a power-of-two table kept at most three quarters full.
#include "filter/name_set.h"

#include <functional>
#include <limits>

namespace quorvane {

namespace {

size_t hashOf(std::string_view name) { return std::hash<std::string_view>{}(name); }

} // namespace

std::string_view NameSet::nameAt(uint32_t slotValue) const
{
    const char* at = m_arena.data() + (slotValue - 1);
    return {at + 1, static_cast<unsigned char>(*at)};
}

size_t NameSet::slotOf(std::string_view name, size_t hash) const
{
    const size_t mask = m_slots.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask)
        if (m_slots[i] == 0 || nameAt(m_slots[i]) == name) return i;
}

bool NameSet::insert(std::string_view name)
{
    if (name.empty() || name.size() > kMaxName) return false;
    // Offsets are 32-bit; an arena that large is far beyond any list this server reads.
    if (m_arena.size() + name.size() + 1 >= std::numeric_limits<uint32_t>::max()) return false;
    if ((m_count + 1) * 4 > m_slots.size() * 3) grow();
    const size_t slot = slotOf(name, hashOf(name));
    if (m_slots[slot] != 0) return false;
    m_slots[slot] = static_cast<uint32_t>(m_arena.size() + 1);
    m_arena.push_back(static_cast<char>(name.size()));
    m_arena.insert(m_arena.end(), name.begin(), name.end());
    ++m_count;
    return true;
}

void NameSet::grow()
{
    std::vector<uint32_t> old(m_slots.empty() ? 16 : m_slots.size() * 2, 0);
    old.swap(m_slots);
    for (const uint32_t value : old)
        if (value != 0) m_slots[slotOf(nameAt(value), hashOf(nameAt(value)))] = value;
}

bool NameSet::contains(std::string_view name) const
{
    return m_count != 0 && m_slots[slotOf(name, hashOf(name))] != 0;
}

std::string_view NameSet::findSelfOrParent(std::string_view name) const
{
    if (m_count == 0) return {};
    for (;;) {
        if (const uint32_t value = m_slots[slotOf(name, hashOf(name))]; value != 0) return nameAt(value);
        const size_t dot = name.find('.');
        if (dot == std::string_view::npos) return {};
        name.remove_prefix(dot + 1);
    }
}

void NameSet::shrink() { m_arena.shrink_to_fit(); }

} // namespace quorvane
