// Calendar arithmetic on DateTime values; pure, no system time.
#include "net/clock.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

namespace quorvane {

namespace {

// Days since 1970-01-01 to a civil date and back (Howard Hinnant's well-known algorithms).
void civilFromDays(int64_t days, int& year, int& month, int& day)
{
    days += 719468;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const int64_t dayOfEra = days - era * 146097;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t mp = (5 * dayOfYear + 2) / 153;
    day = static_cast<int>(dayOfYear - (153 * mp + 2) / 5 + 1);
    month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    year = static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));
}

int64_t daysFromCivil(int year, int month, int day)
{
    const int64_t y = year - (month <= 2 ? 1 : 0);
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yearOfEra = y - era * 400;
    const int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

std::string twoDigits(int value)
{
    return {static_cast<char>('0' + value / 10 % 10), static_cast<char>('0' + value % 10)};
}

} // namespace

CalendarTime toCalendar(DateTime when)
{
    // Round to the nearest millisecond first so that 10:00:00 held as 9:59:59.9999999 reads 10:00:00.
    const auto millis = static_cast<int64_t>(std::llround(when * kSecondsPerDay * 1000.0));
    int64_t days = millis / 86'400'000;
    int64_t inDay = millis % 86'400'000;
    if (inDay < 0) {
        inDay += 86'400'000;
        --days;
    }
    CalendarTime t;
    civilFromDays(days, t.year, t.month, t.day);
    const auto seconds = static_cast<int>(inDay / 1000);
    t.hour = seconds / 3600;
    t.minute = seconds / 60 % 60;
    t.second = seconds % 60;
    return t;
}

DateTime fromCalendar(const CalendarTime& when)
{
    const auto days = static_cast<double>(daysFromCivil(when.year, when.month, when.day));
    return days + (when.hour * 3600 + when.minute * 60 + when.second) / kSecondsPerDay;
}

std::string timeOfDayText(DateTime when)
{
    const CalendarTime t = toCalendar(when);
    return twoDigits(t.hour) + ':' + twoDigits(t.minute) + ':' + twoDigits(t.second);
}

std::string dateStamp(DateTime when)
{
    const CalendarTime t = toCalendar(when);
    return std::to_string(t.year) + twoDigits(t.month) + twoDigits(t.day);
}

std::string dateTimeText(DateTime when)
{
    const CalendarTime t = toCalendar(when);
    return std::to_string(t.year) + '-' + twoDigits(t.month) + '-' + twoDigits(t.day) + ' ' +
           timeOfDayText(when);
}

} // namespace quorvane
