// Local time through localtime_r; repeating timers that keep their rhythm and skip missed beats.
#include "net/system_clock.h"

#include "net/asio_impl.h"

#include <ctime>

namespace quorvane {

struct SystemClock::Timer {
    Timer(asio::io_context& io, std::chrono::milliseconds every, std::function<void()> onTick)
        : timer(io), interval(every), tick(std::move(onTick))
    {
    }
    asio::steady_timer timer;
    std::chrono::milliseconds interval;
    std::function<void()> tick;
};

SystemClock::SystemClock(AsioLoop& loop) : m_loop(loop) {}
SystemClock::~SystemClock() = default;

DateTime SystemClock::now() const
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch).count();
    const std::time_t seconds = static_cast<std::time_t>(micros / 1'000'000);
    // The offset from UTC changes only on the hour (summer time) or when the zone is changed, so
    // it is looked up once a minute rather than on every call of the query path.
    if (seconds / 60 != m_offsetMinute) {
        std::tm local{};
        localtime_r(&seconds, &local);
        m_offsetDays = static_cast<double>(local.tm_gmtoff) / kSecondsPerDay;
        m_offsetMinute = seconds / 60;
    }
    return static_cast<double>(micros) / 1e6 / kSecondsPerDay + m_offsetDays;
}

TimerId SystemClock::startTimer(std::chrono::milliseconds interval, std::function<void()> tick)
{
    const TimerId id = m_nextId++;
    auto timer = std::make_unique<Timer>(m_loop.impl().io, interval, std::move(tick));
    timer->timer.expires_after(interval);
    arm(*timer);
    m_timers.emplace(id, std::move(timer));
    return id;
}

void SystemClock::stopTimer(TimerId timer)
{
    m_timers.erase(timer); // destroying the steady_timer cancels its wait
}

void SystemClock::arm(Timer& timer)
{
    timer.timer.async_wait([this, &timer](std::error_code ec) {
        if (ec) return; // cancelled
        const auto now = std::chrono::steady_clock::now();
        auto next = timer.timer.expiry() + timer.interval;
        while (next <= now) next += timer.interval; // a late tick does not cause a burst of catch-up ticks
        timer.timer.expires_at(next);
        arm(timer);
        // Last, and from a copy: the tick may stop this very timer, which destroys its function.
        const auto tick = timer.tick;
        tick();
    });
}

} // namespace quorvane
