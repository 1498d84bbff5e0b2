#include "wire/addresses.h"

#include "unit/wire/wire_test_support.h"

#include <gtest/gtest.h>

namespace quorvane {

using test::wire;

TEST(AddressForms, TextAndData)
{
    EXPECT_EQ(DataToIP(""), "0.0.0.0");
    EXPECT_EQ(DataToIP(wire({192, 168})), "192.168.0.0");
    EXPECT_EQ(DataToIP(wire({10, 0, 0, 255, 99})), "10.0.0.255");

    const std::pair<const char*, Bytes> toData[] = {
        {"10.1", wire({10, 1, 0, 0})},         {"300.1.1.1", wire({0, 1, 1, 1})},
        {"1.2.3.4.5", wire({1, 2, 3, 4})},     {"a.b.c.d", wire({0, 0, 0, 0})},
        {"-5.7x. +8.009", wire({5, 7, 8, 9})}, {"99999999999999999999.255.256", wire({0, 255, 0, 0})},
    };
    for (const auto& [text, data] : toData)
        EXPECT_EQ(IPToData(text), data) << text;
    EXPECT_EQ(CanonicalIP("010.001.1"), "10.1.1.0");

    EXPECT_EQ(IPToBin("192.168.1.5"), "11000000101010000000000100000101");
}

TEST(AddressForms, SameNetComparesUpToTheMasksLastBit)
{
    struct Case
    {
        const char* a;
        const char* b;
        const char* mask;
        bool same;
    };
    const Case cases[] = {
        {"192.168.1.5", "192.168.1.200", "255.255.255.0", true},
        {"192.168.1.5", "192.168.2.5", "255.255.255.0", false},
        {"1.2.3.4", "5.6.7.8", "0.0.0.0", true},
        {"10.0.0.1", "10.0.0.2", "255.255.255.255", false},
        {"10.0.0.1", "10.0.0.0", "255.255.255.254", true},
        // A mask with holes counts as if they were set.
        {"10.1.2.3", "10.9.2.3", "255.0.255.0", false},
        {"10.1.2.3", "10.1.2.99", "255.0.255.0", true},
    };
    for (const Case& c : cases)
        EXPECT_EQ(SameNet(c.a, c.b, c.mask), c.same) << c.a << ' ' << c.b << ' ' << c.mask;
}

TEST(AddressForms, ValidIPRejectsNetworkBroadcastAndLoopback)
{
    struct Case
    {
        const char* address;
        const char* mask;
        bool valid;
    };
    const Case cases[] = {
        {"192.168.1.1", "255.255.255.0", true},
        {"192.168.1.0", "255.255.255.0", false},
        {"192.168.1.255", "255.255.255.0", false},
        {"192.168.1.255", "255.255.0.0", true},
        {"127.0.0.1", "255.0.0.0", false},
        {"127.0.0.1", "0.0.0.0", false},
        {"", "255.255.255.0", false},
        {"0.0.0.0", "0.0.0.0", false},
        {"10.0.0.1", "255.255.255.255", false}, // no host bits at all
        {"10.0.0.1", "255.255.255.252", true},
        {"10.0.0.3", "255.255.255.252", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ValidIP(c.address, c.mask), c.valid) << c.address << ' ' << c.mask;
}

TEST(ReverseNames, ToAndFromAddresses)
{
    const std::pair<const char*, Bytes> toData[] = {
        {"4.3.2.1.in-addr.arpa.", wire({1, 2, 3, 4})},
        {"1.168.192.in-addr.arpa.", wire({0, 192, 168, 1})},
        {"300.1.168.192.in-addr.arpa.", wire({192, 168, 1, 255})}, // above 255 is 255 here
        {"5.4.3.2.1.in-addr.arpa.", wire({2, 3, 4, 5})},
        {"host.sub.zone.", wire({0, 0, 0, 0})},
        {"4.3.2.1.in-addr.arpa", wire({0, 0, 0, 0})},
        {"4.3.2.1.IN-ADDR.ARPA.", wire({0, 0, 0, 0})},
    };
    for (const auto& [name, data] : toData)
        EXPECT_EQ(ArpaToData(name), data) << name;
    EXPECT_EQ(ArpaToIP("20.1.168.192.in-addr.arpa."), "192.168.1.20");

    EXPECT_EQ(DataToArpa(wire({10, 0, 0, 1})), "1.0.0.10.in-addr.arpa.");
    EXPECT_EQ(DataToArpa(wire({10, 9})), "0.0.9.10.in-addr.arpa.") << "missing bytes are 0";
}

} // namespace quorvane
