#include "support/fake_clock.h"

#include <algorithm>

namespace quorvane::test {

void FakeClock::advance(std::chrono::milliseconds by)
{
    const auto end = m_elapsed + by;
    for (;;) {
        const auto next = std::min_element(m_timers.begin(), m_timers.end(),
                                           [](const auto& a, const auto& b) { return a.second.due < b.second.due; });
        if (next == m_timers.end() || next->second.due > end) break;
        m_now += static_cast<double>((next->second.due - m_elapsed).count()) / 1000.0 / kSecondsPerDay;
        m_elapsed = next->second.due;
        next->second.due += next->second.interval;
        auto tick = next->second.tick; // the tick may stop its own timer
        tick();
    }
    m_now += static_cast<double>((end - m_elapsed).count()) / 1000.0 / kSecondsPerDay;
    m_elapsed = end;
}

} // namespace quorvane::test
