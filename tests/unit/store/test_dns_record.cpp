#include "store/dns_record.h"

#include "support/fake_clock.h"

#include <gtest/gtest.h>

namespace quorvane {

TEST(DnsRecord, LearnedTTLCountsDownAndPermanentStays)
{
    test::FakeClock clock;
    const DateTime start = clock.now();
    clDNSRecord learned, permanent;
    permanent.Permanent = true;
    learned.setTTL(60, start);
    permanent.setTTL(3600, start);

    const std::pair<double, int32_t> ages[] = {{0, 60}, {30, 30}, {59.4, 1},
                                               {60, 0}, {63, -3}, {86400, -86340}};
    for (const auto& [seconds, remaining] : ages) {
        const DateTime now = start + seconds / kSecondsPerDay;
        EXPECT_EQ(learned.TTL(now), remaining) << seconds;
        EXPECT_EQ(permanent.TTL(now), 3600) << seconds;
        EXPECT_GT(permanent.TimeOut(now), now) << "a permanent record never times out";
        EXPECT_DOUBLE_EQ(learned.TimeOut(now), start + 60 / kSecondsPerDay);
    }
    // Setting the TTL again restarts the life from then.
    learned.setTTL(10, start + 1);
    EXPECT_EQ(learned.TTL(start + 1), 10);
    // A clock that jumps decades saturates instead of overflowing.
    EXPECT_EQ(learned.TTL(start + 1e6), std::numeric_limits<int32_t>::min());
}

} // namespace quorvane
