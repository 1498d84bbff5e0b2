#include "wire/wire_reader.h"

#include "unit/wire/wire_test_support.h"

#include <gtest/gtest.h>

namespace quorvane {

using test::exampleQuery;
using test::wire;

TEST(WireReader, ReadsAQuestionAndARecord)
{
    const Bytes message =
        exampleQuery() + wire({0xC0, 12, 0, 1, 0, 1, 0x80, 0, 0, 0, 0, 4, 10, 0, 0, 1, 0xEE});
    WireReader r(message, 12);
    for (int field = 0; field < 2; ++field) {
        EXPECT_EQ(r.name(), "www.example.com.");
        EXPECT_EQ(r.shortValue(), 1); // type A
        EXPECT_EQ(r.shortValue(), 1); // class IN
    }
    EXPECT_EQ(r.longValue(), 2147483647);
    EXPECT_EQ(r.bytes(static_cast<size_t>(r.shortValue())), wire({10, 0, 0, 1}));
    EXPECT_TRUE(r.ok());
    EXPECT_EQ(r.rest(), wire({0xEE}));
}

TEST(WireReader, AFailedReadIsRemembered)
{
    const Bytes cut = wire({3, "ww"});
    WireReader cutName(cut, 0);
    EXPECT_EQ(cutName.name(), "incomplete.");
    EXPECT_FALSE(cutName.ok());

    const Bytes numbers = wire({0, 1, 7, 0, 1});
    WireReader shortNumber(numbers, 1);
    EXPECT_EQ(shortNumber.shortValue(), 263);
    EXPECT_TRUE(shortNumber.ok());
    EXPECT_EQ(shortNumber.longValue(), 0);
    EXPECT_FALSE(shortNumber.ok());
    EXPECT_EQ(shortNumber.shortValue(), 0) << "the rest was emptied";

    const Bytes query = exampleQuery();
    WireReader longData(query, 29);
    EXPECT_EQ(longData.bytes(5), "");
    EXPECT_FALSE(longData.ok());
    EXPECT_TRUE(longData.rest().empty());
}

} // namespace quorvane
