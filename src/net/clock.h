// Time as the engine sees it: the current local date-time and repeating timers.
// No system calls here: SystemClock (system_clock.h) is the real one; tests use a fake.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace quorvane {

// Local date and time as days since 1970-01-01 00:00 local time; the fraction is the time of day.
// An interval of s seconds is s / 86400 days.
using DateTime = double;
constexpr double kSecondsPerDay = 86400.0;

// The date-time a number of seconds after when.
inline DateTime addSeconds(DateTime when, double seconds)
{
    return when + seconds / kSecondsPerDay;
}

using TimerId = int;

class Clock {
public:
    virtual ~Clock() = default;
    virtual DateTime now() const = 0;
    // Calls tick every interval until stopped; the first call comes one interval from now.
    virtual TimerId startTimer(std::chrono::milliseconds interval, std::function<void()> tick) = 0;
    virtual void stopTimer(TimerId timer) = 0;
};

struct CalendarTime {
    int year = 1970, month = 1, day = 1;
    int hour = 0, minute = 0, second = 0;
};

// Breaks a date-time into calendar fields (proleptic Gregorian), seconds rounded down.
CalendarTime toCalendar(DateTime when);
DateTime fromCalendar(const CalendarTime& when);

// "hh:mm:ss", 24-hour clock.
std::string timeOfDayText(DateTime when);
// "yyyymmdd".
std::string dateStamp(DateTime when);
// "yyyy-mm-dd hh:mm:ss".
std::string dateTimeText(DateTime when);

} // namespace quorvane
