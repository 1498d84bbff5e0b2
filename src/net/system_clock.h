// The real clock: local time from the system, timers on the Asio loop.
#pragma once

#include "net/asio_loop.h"
#include "net/clock.h"

#include <cstdint>
#include <map>
#include <memory>

namespace quorvane {

class SystemClock : public Clock {
public:
    explicit SystemClock(AsioLoop& loop);
    ~SystemClock() override;
    DateTime now() const override;
    TimerId startTimer(std::chrono::milliseconds interval, std::function<void()> tick) override;
    void stopTimer(TimerId timer) override;

private:
    struct Timer;
    void arm(Timer& timer);
    AsioLoop& m_loop;
    std::map<TimerId, std::unique_ptr<Timer>> m_timers;
    TimerId m_nextId = 1;
    mutable int64_t m_offsetMinute = -1; // the UTC minute the offset was looked up in
    mutable double m_offsetDays = 0;
};

} // namespace quorvane
