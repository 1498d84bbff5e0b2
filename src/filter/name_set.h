// A set of domain names held compactly for block lists of millions of names: the bytes of every
// name in one arena, found through an open-addressed table of arena offsets beside a byte of each
// name's hash, so that a probe reads the arena only when that byte matches. No string or node per
// name: a name costs its length plus about eight bytes. Names are lower-case, without a final dot.
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
    // Room for names from lists of this many bytes, asked for before adding them: the arena is
    // then never moved while it fills (what it does not fill is never touched), and the table is
    // made for about as many names as such lists hold, so that it need not grow on the way.
    void reserve(size_t listBytes);
    // Once every name is in: a table much larger than its names need is rebuilt at their size.
    void shrink();

private:
    std::string_view nameAt(uint32_t offset) const;
    // The slot that holds name, or the empty slot where it would go.
    size_t slotOf(std::string_view name, uint64_t hash) const;
    void rebuild(size_t slots);

    std::vector<char> m_arena;     // each name as one length byte and its bytes
    std::vector<uint8_t> m_tags;   // per slot: 0 when empty, else a byte of the name's hash (1-255)
    std::vector<uint32_t> m_slots; // per slot: the arena offset of the name
    size_t m_count = 0;
};

} // namespace quorvane
