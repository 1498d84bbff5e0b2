// A set of domain names held compactly for block lists of millions of names: the bytes of every
// name in one arena, found through an open-addressed table of arena offsets. No string or node per
// name, so a name costs its length plus a few bytes. Names are lower-case, without a final dot.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace quorvane {

class NameSet {
public:
    // The longest name held.
    static constexpr size_t kMaxName = 253;

    // Adds a name (1 to kMaxName bytes, lower-case, no final dot); one already held, an empty or
    // an overlong name is not added. Returns whether it was added.
    bool insert(std::string_view name);
    bool contains(std::string_view name) const;
    // The held name that is name itself or one of its parents, the longest first; empty when
    // none is held. name must be lower-case, without a final dot.
    std::string_view findSelfOrParent(std::string_view name) const;
    size_t size() const { return m_count; }
    bool empty() const { return m_count == 0; }
    // Gives back the spare capacity the building left, once every name is in.
    void shrink();
    // The bytes the set holds on the heap.
    size_t heapBytes() const { return m_arena.capacity() + m_slots.capacity() * sizeof(uint32_t); }

private:
    std::string_view nameAt(uint32_t slotValue) const;
    // The slot that holds name, or the empty slot where it would go.
    size_t slotOf(std::string_view name, size_t hash) const;
    void grow();

    std::vector<char> m_arena;     // each name as one length byte and its bytes
    std::vector<uint32_t> m_slots; // arena offset + 1 of a name; 0 for an empty slot
    size_t m_count = 0;
};

} // namespace quorvane
