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
    Bytes message; // the whole message; the name is read from its offset `at`
    size_t at;
    std::string name;
    size_t taken; // bytes of the name at the front of the remainder
};

void expectReads(const std::vector<ReadCase>& cases)
{
    for (const ReadCase& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string_view whole = std::string_view(c.message).substr(c.at);
        std::string_view peek = whole;
        EXPECT_EQ(ExtractName(c.message, peek, false), c.name);
        EXPECT_EQ(peek, whole) << "peeking must leave the remainder alone";
        std::string_view rest = whole;
        EXPECT_EQ(ExtractName(c.message, rest, true), c.name);
        EXPECT_EQ(rest, whole.substr(c.taken));
    }
}

} // namespace

TEST(ExtractName, ReadsLabelsAndPointers)
{
    const Bytes query = exampleQuery();
    const std::string label80(80, 'q');
    const std::string label191(191, 'r');
    expectReads({
        {"labels, lower-cased", wire({3, "WwW", 2, "Ab", 0, 0, 1}), 0, "www.ab.", 8},
        {"root", wire({0, 0, 1}), 0, ".", 1},
        {"question of a query", query, 12, "www.example.com.", 17},
        {"pointer to the question", query + wire({0xC0, 12, 0, 1}), 33, "www.example.com.", 2},
        {"labels then a pointer", query + wire({4, "MAIL", 0xC0, 16}), 33, "mail.example.com.", 7},
        {"pointer to a pointer", query + wire({0xC0, 24, 0xC0, 33}), 35, "com.", 2},
        {"pointer forward", wire({0xC0, 3, 9, 3, "abc", 0}), 0, "abc.", 2},
        // A pointer to a zero byte is an empty name of its own, which reads ".".
        {"pointer to the root", wire({0, 4, "host", 0xC0, 0}), 1, "host..", 7},
        {"length byte 80 is a label", wire({80, label80, 0}), 0, label80 + ".", 82},
        {"length byte 191 is a label", wire({191, label191, 0}), 0, label191 + ".", 193},
    });
}

TEST(ExtractName, ReadsPointerAtTheLargestOffset)
{
    // 0xFF 0xFF is offset 16383, the highest that 14 bits hold.
    const Bytes message = Bytes(16383, 'x') + wire({1, "a", 0, 0xFF, 0xFF});
    std::string_view rest = std::string_view(message).substr(16386);
    EXPECT_EQ(ExtractName(message, rest, true), "a.");
    EXPECT_TRUE(rest.empty());
}

TEST(ExtractName, UnreadableNamesEndIncomplete)
{
    const Bytes query = exampleQuery(); // 33 bytes
    struct Case
    {
        const char* what;
        Bytes message;
        size_t at;
        const char* name;
        bool emptied; // else the remainder lost the name's bytes as usual
    };
    const Case cases[] = {
        {"nothing left", query, 33, "incomplete.", true},
        {"no zero byte after the last label", wire({3, "www"}), 0, "incomplete.", true},
        {"label runs past the end", wire({5, "www", 0}), 0, "incomplete.", true},
        {"long label runs past the end", wire({100, std::string(99, 'z')}), 0, "incomplete.", true},
        {"labels then half a pointer", wire({3, "www", 0xC0}), 0, "incomplete.", true},
        {"pointer past the end", query + wire({4, "host", 0xC0, 200}), 33, "host.incomplete.", false},
        {"pointer into a cut label", wire({4, "host", 0xC0, 7, 3, "ab"}), 0, "host.incomplete.", false},
        {"labels of the target are dropped", wire({3, "sub", 9, "x", 4, "host", 0xC0, 0}), 6,
         "host.incomplete.", false},
        {"a good stretch keeps its labels", wire({3, "sub", 0xC0, 13, 4, "host", 0xC0, 0, 2, "x"}), 6,
         "host.sub.incomplete.", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::string_view rest = std::string_view(c.message).substr(c.at);
        const size_t before = rest.size();
        EXPECT_EQ(ExtractName(c.message, rest, true), c.name);
        EXPECT_TRUE(endsIncomplete(c.name));
        if (c.emptied)
            EXPECT_TRUE(rest.empty());
        else
            EXPECT_EQ(rest.size(), before - 7);
    }
}

TEST(ExtractName, EndsIncompleteWhenPointersLoop)
{
    const Bytes header(12, '\0');
    struct Case
    {
        const char* what;
        Bytes message;
    };
    const Case cases[] = {
        {"pointer to itself", header + wire({0xC0, 12})},
        {"two names pointing at each other", header + wire({1, "a", 0xC0, 16, 1, "b", 0xC0, 12})},
        {"pointer to a pointer to itself", header + wire({0xC0, 14, 0xC0, 14})},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::string_view rest = std::string_view(c.message).substr(12);
        const std::string name = ExtractName(c.message, rest, true);
        EXPECT_TRUE(endsIncomplete(name)) << name;
        EXPECT_LT(name.size(), 300u) << "the chain must end early";
        EXPECT_EQ(rest.size(), c.message.size() - 12 - (c.message[12] == 1 ? 4 : 2));
        EXPECT_TRUE(endsIncomplete(UnzipName(c.message, 12)));
    }
}

TEST(UnzipName, ReadsAtAnOffset)
{
    const Bytes query = exampleQuery();
    ErrorCapture errors;
    EXPECT_EQ(UnzipName(query, 12), "www.example.com.");
    EXPECT_EQ(UnzipName(query, 16), "example.com.");
    EXPECT_EQ(UnzipName(query, 32), "incomplete.") << "the last byte of the class is a cut label";
    EXPECT_EQ(UnzipName(query, 33), "incomplete.") << "at the end";
    EXPECT_EQ(UnzipName(query, 32766), "incomplete.") << "past the end";
    EXPECT_TRUE(errors.labels.empty());

    // The offset is a 16-bit signed value, and the position after 32767 cannot be formed.
    const Bytes big = Bytes(32767, 'x') + wire({1, "a", 0});
    EXPECT_EQ(UnzipName(big, 32767), "");
    EXPECT_EQ(UnzipName(big, -1), "");
    EXPECT_EQ(errors.labels, (std::vector<std::string>{"modDNS UnzipName", "modDNS UnzipName"}));
}

TEST(ZipName, WritesTheWireForm)
{
    const std::string label63(63, 'x');
    const std::string label70(70, 'y');
    struct Case
    {
        std::string name;
        Bytes wire;
    };
    const Case cases[] = {
        {"host.sub.zone", wire({4, "host", 3, "sub", 4, "zone", 0})},
        {"host.sub.zone.", wire({4, "host", 3, "sub", 4, "zone", 0})},
        {".", wire({0})},
        {"", wire({0})},
        {"Mail.Example.", wire({4, "Mail", 7, "Example", 0})},
        {label63 + ".a", wire({63, label63, 1, "a", 0})},
        {label70 + ".a", wire({63, std::string(63, 'y'), 1, "a", 0})},
        {label70, wire({63, std::string(63, 'y'), 0})},
        {" a . b ", wire({1, "a", 1, "b", 0})},
        {"a..b.", wire({1, "a", 1, "b", 0})},
        {".a", wire({1, "a", 0})},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ZipName(c.name, ""), c.wire) << '"' << c.name << '"';
    }
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
        // The search is byte for byte: other case, other name.
        {"WWW.example.com.", query, wire({3, "WWW", 0xC0, 16})},
        // Any earlier occurrence of the bytes wins, even inside other data.
        {"com.", wire({9, 9, 3, "com", 0}) + query, wire({0xC0, 2})},
        // Even inside another name's label.
        {"om.", wire({5, "ab", 2, "om", 0}), wire({0xC0, 3})},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ZipName(c.name, c.message), c.wire) << c.name;
    }
}

TEST(ZipName, PointsNoFurtherThanFourteenBitsReach)
{
    ErrorCapture errors;
    const Bytes reachable = Bytes(16383, 'x') + wire({1, "a", 0});
    EXPECT_EQ(ZipName("a.", reachable), wire({0xFF, 0xFF}));
    EXPECT_TRUE(errors.labels.empty());

    const Bytes beyond = Bytes(16384, 'x') + wire({1, "a", 0});
    EXPECT_EQ(ZipName("a.", beyond), wire({1, "a", 0})) << "written out in full";
    EXPECT_EQ(errors.labels, std::vector<std::string>{"modDNS ZipName"});
}

TEST(ZipName, NamesReadBackAsWritten)
{
    // Writes names one after another, each compressed against the message so far, and reads them
    // back in order.
    const char* names[] = {"www.example.com.", "example.com.", "Mail.Example.COM", "com.", ".",
                           "a.b.c.d.e.",       "c.d.e",        "other.org."};
    Bytes message(12, '\0');
    for (const char* name : names)
        message += ZipName(name, message);

    std::string_view rest = std::string_view(message).substr(12);
    const char* expected[] = {"www.example.com.", "example.com.", "mail.example.com.", "com.", ".",
                              "a.b.c.d.e.",       "c.d.e.",       "other.org."};
    for (const char* name : expected)
        EXPECT_EQ(ExtractName(message, rest, true), name);
    EXPECT_TRUE(rest.empty());
    // Written out in full: www.example.com. (17), Mail.Example.COM (18, the search heeds case), "." (1),
    // a.b.c.d.e. (11), other.org. (11); the other three are pointers.
    EXPECT_EQ(message.size(), 12u + 17 + 2 + 18 + 2 + 1 + 11 + 2 + 11);
}

} // namespace quorvane
