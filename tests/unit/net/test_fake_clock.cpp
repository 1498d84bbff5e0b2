#include "support/fake_clock.h"

#include <gtest/gtest.h>

namespace quorvane::test {

using namespace std::chrono_literals;

TEST(FakeClock, TimersFireInTimeOrderAndCanStopThemselves)
{
    FakeClock clock(fromCalendar({2026, 1, 1, 0, 0, 0}));
    std::vector<std::string> fired;
    clock.startTimer(1000ms, [&] { fired.push_back("second@" + timeOfDayText(clock.now())); });
    TimerId fast = 0;
    fast = clock.startTimer(750ms, [&] {
        fired.push_back("fast@" + std::to_string(fired.size()));
        if (fired.size() >= 2) clock.stopTimer(fast);
    });
    clock.advance(2500ms);
    const std::vector<std::string> expected{"fast@0", "second@00:00:01", "fast@2", "second@00:00:02"};
    EXPECT_EQ(fired, expected);
    EXPECT_EQ(clock.timerCount(), 1u);
    EXPECT_EQ(dateTimeText(clock.now()), "2026-01-01 00:00:02");
}

} // namespace quorvane::test
