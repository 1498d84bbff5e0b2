// The block lists as the answerer sees them. query/ does not depend on filter/: host wires the
// lists in through this interface, and swaps them whole on the engine thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

struct NameFilter {
    virtual ~NameFilter() = default;
    // The list entry that blocks name ("host.zone.", any case), or empty when it is not blocked.
    // The view stays valid until the lists are swapped.
    virtual std::string_view blockedBy(std::string_view name) = 0;
};

// How a blocked question is answered: A with 0.0.0.0, AAAA with :: and other types with an empty
// answer; or a name error; or a refusal.
enum class BlockAnswer { Zero, NameError, Refused };

struct FilterSettings {
    BlockAnswer answer = BlockAnswer::Zero; // BLOCKANSWER
    std::vector<std::string> noFilter;      // NOFILTER: clients never filtered
};

// The TTL of the records a blocked question is answered with.
inline constexpr int32_t kBlockedTTL = 60;

} // namespace quorvane
