// A clock that stands still until a test moves it; timers fire as time is advanced.
#pragma once

#include "net/clock.h"

#include <map>

namespace quorvane::test {

class FakeClock : public Clock {
public:
    explicit FakeClock(DateTime start = fromCalendar({2026, 11, 22, 12, 0, 0})) : m_now(start) {}

    DateTime now() const override { return m_now; }
    TimerId startTimer(std::chrono::milliseconds interval, std::function<void()> tick) override
    {
        m_timers.emplace(m_nextId, Timer{interval, m_elapsed + interval, std::move(tick)});
        return m_nextId++;
    }
    void stopTimer(TimerId timer) override { m_timers.erase(timer); }

    // Moves time forward, firing each timer as often as its interval fits, in time order.
    void advance(std::chrono::milliseconds by);
    // Jumps to a moment without firing timers (a late or suspended machine).
    void set(DateTime when) { m_now = when; }

private:
    struct Timer {
        std::chrono::milliseconds interval;
        std::chrono::milliseconds due;
        std::function<void()> tick;
    };
    DateTime m_now;
    std::chrono::milliseconds m_elapsed{0};
    std::map<TimerId, Timer> m_timers;
    TimerId m_nextId = 1;
};

} // namespace quorvane::test
