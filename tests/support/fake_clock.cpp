#include "support/fake_clock.h"

namespace quorvane::test {

TimerId FakeClock::startTimer(std::chrono::milliseconds interval, std::function<void()> tick)
{
    const TimerId id = m_nextId++;
    m_timers.emplace(id, Timer{interval, m_elapsed + interval, std::move(tick)});
    return id;
}

void FakeClock::advance(std::chrono::milliseconds by)
{
    const auto end = m_elapsed + by;
    for (;;) {
        auto next = m_timers.end();
        for (auto it = m_timers.begin(); it != m_timers.end(); ++it)
            if (it->second.due <= end && (next == m_timers.end() || it->second.due < next->second.due)) next = it;
        if (next == m_timers.end()) break;
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
