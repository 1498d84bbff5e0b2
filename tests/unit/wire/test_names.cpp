#include "wire/names.h"

#include "unit/wire/wire_test_support.h"

#include <gtest/gtest.h>

namespace quorvane {

using test::ErrorCapture;
using test::exampleQuery;
using test::wire;

namespace {

struct ReadCase
{
    const char* what;
    Bytes message; // the name is read from offset `at` of the whole message
    size_t at;
    std::string name;
    size_t left; // what remains of the remainder after reading with remove set
};

void expectReads(const std::vector<ReadCase>& cases)
{
    for (const ReadCase& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string_view whole = std::string_view(c.message).substr(c.at);
        std::string_view rest = whole;
        EXPECT_EQ(ExtractName(c.message, rest, false), c.name);
        EXPECT_EQ(rest, whole) << "peeking must leave the remainder alone";
        EXPECT_EQ(ExtractName(c.message, rest, true), c.name);
        EXPECT_EQ(rest, whole.substr(whole.size() - c.left));
    }
}

std::string repeat(const std::string& text, size_t times)
{
    std::string all;
    while (times-- > 0)
        all += text;
    return all;
}

} // namespace

TEST(ExtractName, ReadsLabelsAndPointers)
{
    const Bytes query = exampleQuery(); // 33 bytes
    const std::string label80(80, 'q'), label191(191, 'r');
    expectReads({
        {"labels, lower-cased", wire({3, "WwW", 2, "Ab", 0, 0, 1}), 0, "www.ab.", 2},
        {"root", wire({0, 0, 1}), 0, ".", 2},
        {"question of a query", query, 12, "www.example.com.", 4},
        {"pointer to the question", query + wire({0xC0, 12, 0, 1}), 33, "www.example.com.", 2},
        {"labels then a pointer", query + wire({4, "MAIL", 0xC0, 16}), 33, "mail.example.com.", 0},
        {"pointer to a pointer", query + wire({0xC0, 24, 0xC0, 33}), 35, "com.", 0},
        {"pointer forward", wire({0xC0, 3, 9, 3, "abc", 0}), 0, "abc.", 6},
        // A pointer to a zero byte is an empty name of its own, which reads ".".
        {"pointer to the root", wire({0, 4, "host", 0xC0, 0}), 1, "host..", 0},
        {"length byte 80 is a label", wire({80, label80, 0}), 0, label80 + ".", 0},
        {"length byte 191 is a label", wire({191, label191, 0}), 0, label191 + ".", 0},
        {"pointer to offset 16383", Bytes(16383, 'x') + wire({1, "a", 0, 0xFF, 0xFF}), 16386, "a.", 0},
    });
}

TEST(ExtractName, UnreadableNamesEndIncomplete)
{
    const Bytes query = exampleQuery();
    const Bytes header(12, '\0');
    expectReads({
        // A name cut short in the remainder itself empties it.
        {"nothing left", query, 33, "incomplete.", 0},
        {"no zero byte after the last label", wire({3, "www"}), 0, "incomplete.", 0},
        {"label runs past the end", wire({5, "www", 0, 1}), 0, "incomplete.", 0},
        {"long label runs past the end", wire({100, std::string(99, 'z')}), 0, "incomplete.", 0},
        {"labels then half a pointer", wire({3, "www", 0xC0}), 0, "incomplete.", 0},
        // Past a pointer, the labels read so far stay and the remainder moves on as usual.
        {"pointer past the end", query + wire({4, "host", 0xC0, 200, 9}), 33, "host.incomplete.", 1},
        {"pointer into a cut label", wire({4, "host", 0xC0, 7, 3, "ab"}), 0, "host.incomplete.", 3},
        {"labels of a cut stretch are dropped", wire({3, "sub", 9, "x", 4, "host", 0xC0, 0}), 6,
         "host.incomplete.", 0},
        {"a good stretch keeps its labels", wire({3, "sub", 0xC0, 13, 4, "host", 0xC0, 0, 2, "x"}), 6,
         "host.sub.incomplete.", 2},
        // Pointer loops end after 127 hops.
        {"pointer to itself", header + wire({0xC0, 12}), 12, "incomplete.", 0},
        {"pointer to a pointer to itself", header + wire({0xC0, 14, 0xC0, 14}), 12, "incomplete.", 2},
        {"two names pointing at each other", header + wire({1, "a", 0xC0, 16, 1, "b", 0xC0, 12}), 12,
         repeat("a.b.", 64) + "incomplete.", 4},
    });
}

TEST(ZipName, WritesTheWireForm)
{
    const std::string x63(63, 'x'), y70(70, 'y');
    const std::pair<std::string, Bytes> cases[] = {
        {"host.sub.zone", wire({4, "host", 3, "sub", 4, "zone", 0})},
        {"host.sub.zone.", wire({4, "host", 3, "sub", 4, "zone", 0})},
        {".", wire({0})},
        {"", wire({0})},
        {"Mail.Example.", wire({4, "Mail", 7, "Example", 0})},
        {x63 + ".a", wire({63, x63, 1, "a", 0})},
        {y70 + ".a", wire({63, std::string(63, 'y'), 1, "a", 0})},
        {y70, wire({63, std::string(63, 'y'), 0})},
        {" a . b ", wire({1, "a", 1, "b", 0})},
        {".a..b", wire({1, "a", 1, "b", 0})},
    };
    for (const auto& [name, bytes] : cases)
        EXPECT_EQ(ZipName(name, ""), bytes) << '"' << name << '"';
}

TEST(ZipName, CompressesAgainstTheMessage)
{
    const Bytes query = exampleQuery();
    struct Case
    {
        const char* name;
        Bytes message;
        Bytes wire;
    };
    const Case cases[] = {
        {"www.example.com.", query, wire({0xC0, 12})},
        {"mail.example.com", query, wire({4, "mail", 0xC0, 16})},
        {"com.", query, wire({0xC0, 24})},
        {"example.org.", query, wire({7, "example", 3, "org", 0})},
        {".", query, wire({0})},
        {"WWW.example.com.", query, wire({3, "WWW", 0xC0, 16})}, // byte for byte, so case counts
        // The first occurrence of the bytes wins, even inside other data or another label.
        {"com.", wire({9, 9, 3, "com", 0}) + query, wire({0xC0, 2})},
        {"om.", wire({5, "ab", 2, "om", 0}), wire({0xC0, 3})},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ZipName(c.name, c.message), c.wire) << c.name;
}

TEST(ZipName, PointsNoFurtherThanFourteenBitsReach)
{
    ErrorCapture errors;
    EXPECT_EQ(ZipName("a.", Bytes(16383, 'x') + wire({1, "a", 0})), wire({0xFF, 0xFF}));
    EXPECT_TRUE(errors.labels.empty());
    EXPECT_EQ(ZipName("a.", Bytes(16384, 'x') + wire({1, "a", 0})), wire({1, "a", 0})) << "written in full";
    EXPECT_EQ(errors.labels, std::vector<std::string>{"modDNS ZipName"});
}

} // namespace quorvane
