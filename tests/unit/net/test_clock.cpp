#include "net/clock.h"
#include "support/call_table.h"

#include <gtest/gtest.h>

namespace quorvane {

TEST(Clock, CalendarRoundTripsAndFormats)
{
    const auto calendar = [](const test::Args& a) {
        int f[6];
        for (size_t i = 0; i < 6; ++i) f[i] = std::stoi(a[i]);
        const DateTime when = fromCalendar({f[0], f[1], f[2], f[3], f[4], f[5]});
        return dateStamp(when) + ' ' + dateTimeText(when);
    };
    test::runCallTable(QUORVANE_NET_DATA "/calendar.txt", {{"Calendar", calendar}}, 5);
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
