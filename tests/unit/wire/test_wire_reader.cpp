#include "wire/wire_reader.h"

#include <gtest/gtest.h>

namespace quorvane {

namespace {
// A query for www.example.com, type A: the name at offset 12.
const Bytes kQuery("\x12\x34\x01\0\0\x01\0\0\0\0\0\0\x03www\x07" "example\x03" "com\0\0\x01\0\x01", 33);
} // namespace

TEST(WireReader, ReadsAQuestionAndARecord)
{
    const Bytes message =
        kQuery + Bytes("\xC0\x0C\0\x01\0\x01\x80\0\0\0\0\x04\x0A\0\0\x01\xEE", 17);
    WireReader r(message, 12);
    for (int field = 0; field < 2; ++field) {
        EXPECT_EQ(r.name(), "www.example.com.");
        EXPECT_EQ(r.shortValue(), 1); // type A
        EXPECT_EQ(r.shortValue(), 1); // class IN
    }
    EXPECT_EQ(r.longValue(), 2147483647);
    EXPECT_EQ(r.bytes(static_cast<size_t>(r.shortValue())), Bytes("\x0A\0\0\x01", 4));
    EXPECT_TRUE(r.ok());
    EXPECT_EQ(r.rest(), "\xEE");
}

TEST(WireReader, AFailedReadIsRemembered)
{
    const Bytes cut = "\x03ww";
    WireReader cutName(cut, 0);
    EXPECT_EQ(cutName.name(), "incomplete.");
    EXPECT_FALSE(cutName.ok());

    const Bytes numbers("\0\x01\x07\0\x01", 5);
    WireReader shortNumber(numbers, 1);
    EXPECT_EQ(shortNumber.shortValue(), 263);
    EXPECT_TRUE(shortNumber.ok());
    EXPECT_EQ(shortNumber.longValue(), 0);
    EXPECT_FALSE(shortNumber.ok());
    EXPECT_EQ(shortNumber.shortValue(), 0) << "the rest was emptied";

    WireReader longData(kQuery, 29);
    EXPECT_EQ(longData.bytes(5), "");
    EXPECT_FALSE(longData.ok());
    EXPECT_TRUE(longData.rest().empty());
}

} // namespace quorvane
