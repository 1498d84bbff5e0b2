// The identifiers of the queries this server sends: recursion, and later the zone checks and
// notifications, all draw from one counter.
#pragma once

#include <cstdint>

namespace quorvane {

// Counts up before each use, so the first identifier is 1; after 65535 it goes back to 1, so 0 is
// never used again after the first round.
class QueryIdCounter {
public:
    int32_t next()
    {
        m_last = m_last >= 65535 ? 1 : m_last + 1;
        return m_last;
    }

private:
    int32_t m_last = 0;
};

} // namespace quorvane
