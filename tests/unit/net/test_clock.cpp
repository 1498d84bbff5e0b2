#include "net/clock.h"
#include "support/call_table.h"

#include <gtest/gtest.h>

namespace quorvane {

TEST(Clock, CalendarRoundTripsAndFormats)
{
    const auto calendar = [](const test::Args& a) {
        int f[6];
        for (size_t i = 0; i < 6; ++i) f[i] = std::stoi(a[i]);
        DateTime when = fromCalendar({f[0], f[1], f[2], f[3], f[4], f[5]});
        // Many small steps accumulate rounding error; the texts must still read the exact second.
        for (int i = 0; i < std::stoi(a[6]); ++i) when += 1.0 / kSecondsPerDay;
        return dateStamp(when) + ' ' + dateTimeText(when) + ' ' + timeOfDayText(when - 1.0 / kSecondsPerDay);
    };
    test::runCallTable(QUORVANE_NET_DATA "/calendar.txt", {{"Calendar", calendar}}, 6);
}

} // namespace quorvane
