#include "net/clock.h"

#include <gtest/gtest.h>

namespace quorvane {

TEST(Clock, CalendarRoundTripsAndFormats)
{
    struct Case {
        CalendarTime when;
        const char* stamp;
        const char* text;
    };
    const Case cases[] = {
        {{1970, 1, 1, 0, 0, 0}, "19700101", "1970-01-01 00:00:00"},
        {{1999, 12, 22, 14, 3, 59}, "19991222", "1999-12-22 14:03:59"},
        {{2000, 2, 29, 23, 59, 59}, "20000229", "2000-02-29 23:59:59"}, // leap day of a century year
        {{2026, 12, 31, 0, 0, 1}, "20261231", "2026-12-31 00:00:01"},
        {{1969, 12, 31, 23, 0, 0}, "19691231", "1969-12-31 23:00:00"}, // before the epoch
    };
    for (const auto& c : cases) {
        const DateTime when = fromCalendar(c.when);
        EXPECT_EQ(dateStamp(when), c.stamp);
        EXPECT_EQ(dateTimeText(when), c.text);
    }
}

TEST(Clock, SecondsAddedAsDayFractionsLandOnWholeSeconds)
{
    // Many small steps accumulate rounding error; the text must still read the exact second.
    DateTime when = fromCalendar({2026, 11, 22, 23, 59, 0});
    for (int i = 0; i < 60; ++i) when += 1.0 / kSecondsPerDay;
    EXPECT_EQ(dateTimeText(when), "2026-11-23 00:00:00");
    EXPECT_EQ(timeOfDayText(when - 1.0 / kSecondsPerDay), "23:59:59");
}

} // namespace quorvane
