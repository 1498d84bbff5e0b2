#include "wire/numbers.h"

#include "unit/wire/wire_test_support.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorvane {

using test::ErrorCapture;
using test::wire;

TEST(ExtractNumber, ReadsBigEndianAndEmptiesWhenShort)
{
    struct Case
    {
        Bytes bytes;
        int width; // 2 for ExtractShort, 4 for ExtractLong
        double value;
        size_t left; // after reading with remove set
    };
    const Case cases[] = {
        {wire({1, 2, 9}), 2, 258, 1},
        {wire({0xFF, 0xFF}), 2, 65535, 0},
        {wire({7}), 2, 0, 0},
        {"", 2, 0, 0},
        {wire({0, 0, 0x0E, 0x10, 5}), 4, 3600, 1},
        {wire({0x7F, 0xFF, 0xFF, 0xFF}), 4, 2147483647, 0},
        // With the top bit set the value reads as the largest positive one, never as negative.
        {wire({0x80, 0, 0, 0}), 4, 2147483647, 0},
        {wire({0xFF, 0xFF, 0xFF, 0xFF}), 4, 2147483647, 0},
        {wire({1, 2, 3}), 4, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.bytes));
        std::string_view rest = c.bytes;
        const auto read = [&](bool remove) {
            return c.width == 2 ? ExtractShort(rest, remove) : ExtractLong(rest, remove);
        };
        EXPECT_EQ(read(false), c.value);
        EXPECT_EQ(rest.size(), c.bytes.size()) << "peeking must leave the remainder alone";
        EXPECT_EQ(read(true), c.value);
        EXPECT_EQ(rest.size(), c.left);
    }
}

TEST(MakeNumber, WritesBigEndianTwosComplement)
{
    struct Case
    {
        double value;
        Bytes shortBytes;
        Bytes longBytes;
    };
    const Case cases[] = {
        {258, wire({1, 2}), wire({0, 0, 1, 2})},
        {3600, wire({0x0E, 0x10}), wire({0, 0, 0x0E, 0x10})},
        {-1, wire({0xFF, 0xFF}), wire({0xFF, 0xFF, 0xFF, 0xFF})},
        {-256, wire({0xFF, 0}), wire({0xFF, 0xFF, 0xFF, 0})},
        {65536 + 5, wire({0, 5}), wire({0, 1, 0, 5})}, // only the low 16 bits count
        {2147483647, wire({0xFF, 0xFF}), wire({0x7F, 0xFF, 0xFF, 0xFF})},
        {-2147483648.0, wire({0, 0}), wire({0x80, 0, 0, 0})},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MakeShort(static_cast<int32_t>(c.value)), c.shortBytes) << c.value;
        EXPECT_EQ(MakeLong(c.value), c.longBytes) << c.value;
    }
    // Fractions go down to the next whole number.
    EXPECT_EQ(MakeLong(3600.9), wire({0, 0, 0x0E, 0x10}));
    EXPECT_EQ(MakeLong(-0.5), wire({0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(MakeNumber, LongOutsideThirtyTwoBitsIsReported)
{
    ErrorCapture errors;
    EXPECT_EQ(MakeLong(2147483648.0), "");
    EXPECT_EQ(MakeLong(-2147483649.0), "");
    EXPECT_EQ(MakeLong(std::nan("")), "");
    EXPECT_EQ(errors.labels, std::vector<std::string>(3, "modDNS MakeLong"));
}

} // namespace quorvane
