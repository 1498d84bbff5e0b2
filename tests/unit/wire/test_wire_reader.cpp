#include "wire/wire_reader.h"

#include "unit/wire/wire_test_support.h"

#include <gtest/gtest.h>

namespace quorvane {

using test::exampleQuery;
using test::wire;

TEST(WireReader, ReadsAnAnswerFieldByField)
{
    const Bytes message =
        exampleQuery() + wire({0xC0, 12, 0, 1, 0, 1, 0x80, 0, 0, 0, 0, 4, 10, 0, 0, 1, 0xEE});
    WireReader r(message, 0);
    EXPECT_EQ(r.shortValue(), 0x1234);
    EXPECT_EQ(r.shortValue(), 0x0100);
    for (int count : {1, 0, 0, 0})
        EXPECT_EQ(r.shortValue(), count);
    EXPECT_EQ(r.name(), "www.example.com.");
    EXPECT_EQ(r.shortValue(), 1);
    EXPECT_EQ(r.shortValue(), 1);
    EXPECT_EQ(r.name(), "www.example.com.");
    EXPECT_EQ(r.shortValue(), 1);
    EXPECT_EQ(r.shortValue(), 1);
    EXPECT_EQ(r.longValue(), 2147483647);
    const int32_t length = r.shortValue();
    EXPECT_EQ(r.bytes(static_cast<size_t>(length)), wire({10, 0, 0, 1}));
    EXPECT_TRUE(r.ok());
    EXPECT_EQ(r.rest(), wire({0xEE}));
}

TEST(WireReader, AFailedReadIsRemembered)
{
    const Bytes query = exampleQuery();
    struct Case
    {
        const char* what;
        Bytes message;
        size_t offset;
        int reads; // fields read before the one that fails
    };
    const Case cases[] = {
        {"cut name", wire({0, 1, 3, "ww"}), 2, 0},  {"name pointing past the end", wire({0xC0, 40}), 0, 0},
        {"short number", wire({0, 0, 1, 7}), 0, 2}, {"record data longer than the message", query, 12, 3},
        {"offset past the end", query, 100, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        WireReader r(c.message, c.offset);
        // Fields in the order of a question and a record: name, type, class, data.
        const auto read = [&r](int field) {
            switch (field) {
            case 0:
                return !endsIncomplete(r.name());
            case 1:
                return r.shortValue() == 1;
            case 2:
                return r.shortValue() == 1;
            default:
                return r.bytes(20).size() == 20;
            }
        };
        for (int field = 0; field < c.reads; ++field)
            EXPECT_TRUE(read(field));
        EXPECT_TRUE(r.ok());
        EXPECT_FALSE(read(c.reads));
        EXPECT_FALSE(r.ok());
        EXPECT_EQ(r.shortValue(), 0) << "nothing can be read after a failure that emptied the rest";
        EXPECT_FALSE(r.ok());
    }
}

} // namespace quorvane
