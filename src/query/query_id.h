// The identifiers of the queries this server sends: recursion, the zone checks and notifications
// all draw from one source.
#pragma once

#include "net/random_source.h"

#include <cstdint>

namespace quorvane {

// Counts up before each use, so the first identifier is 1; after 65535 it goes back to 1, so 0 is
// never used again after the first round. Hardened, each identifier is drawn from the system's
// random source instead (still never 0), so that no one can guess the next.
class QueryIdCounter {
public:
    void setRandom(bool random) { m_random = random; }
    bool random() const { return m_random; }
    int32_t next()
    {
        if (m_random) return static_cast<int32_t>(m_source.below(65535)) + 1;
        m_last = m_last >= 65535 ? 1 : m_last + 1;
        return m_last;
    }

private:
    int32_t m_last = 0;
    bool m_random = false;
    RandomSource m_source;
};

} // namespace quorvane
