// The codec's functions against a table of calls: names and numbers in wire form, the text forms
// of addresses, reverse names, codes and host names. Each line of tests/data/wire/codec_calls.txt is
// "Function|argument|...|expected".
#include "wire/addresses.h"
#include "wire/clean_name.h"
#include "wire/names.h"
#include "wire/numbers.h"
#include "wire/type_names.h"

#include "unit/wire/wire_test_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

namespace quorvane {

namespace {

using Args = std::vector<std::string>;

// Fields may carry \t, \r and \xHH escapes; "\|" is a bar that does not end the field.
Args fields(std::string_view line)
{
    Args out(1);
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '|') {
            out.emplace_back();
        } else if (line[i] != '\\' || i + 1 == line.size()) {
            out.back() += line[i];
        } else if (line[++i] == 'x') {
            out.back() += static_cast<char>(std::stoi(std::string(line.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        } else {
            out.back() += line[i] == 't' ? '\t' : line[i] == 'r' ? '\r' : line[i];
        }
    }
    return out;
}

std::string yes(bool value)
{
    return value ? "true" : "false";
}

// A read from the start of `bytes` (a name from offset `at` of them): what it gives, then what is
// left of the rest; a peek first must give the same and leave the rest alone.
template <typename Read>
std::string readAndRest(std::string_view bytes, size_t at, Read read)
{
    std::string_view rest = bytes.substr(at);
    const auto peeked = read(rest, false);
    const size_t before = rest.size();
    const auto value = read(rest, true);
    if (peeked != value || before != bytes.size() - at) return "a peek differs";
    std::ostringstream out;
    out.precision(12);
    out << value << " left " << rest.size();
    return out.str();
}

const std::map<std::string, std::function<std::string(const Args&)>> kCalls = {
    {"ExtractName",
     [](const Args& a) {
         return readAndRest(a[0], std::stoul(a[1]), [&](std::string_view& rest, bool remove) {
             return ExtractName(a[0], rest, remove);
         });
     }},
    {"ZipName", [](const Args& a) { return ZipName(a[0], a[1]); }},
    {"ExtractShort", [](const Args& a) { return readAndRest(a[0], 0, ExtractShort); }},
    {"ExtractLong", [](const Args& a) { return readAndRest(a[0], 0, ExtractLong); }},
    {"MakeShort", [](const Args& a) { return MakeShort(std::stoi(a[0])); }},
    {"MakeLong", [](const Args& a) { return MakeLong(std::stod(a[0])); }},
    {"DataToIP", [](const Args& a) { return DataToIP(a[0]); }},
    {"IPToData", [](const Args& a) { return IPToData(a[0]); }},
    {"CanonicalIP", [](const Args& a) { return CanonicalIP(a[0]); }},
    {"IPToBin", [](const Args& a) { return IPToBin(a[0]); }},
    {"SameNet", [](const Args& a) { return yes(SameNet(a[0], a[1], a[2])); }},
    {"ValidIP", [](const Args& a) { return yes(ValidIP(a[0], a[1])); }},
    {"ArpaToData", [](const Args& a) { return ArpaToData(a[0]); }},
    {"ArpaToIP", [](const Args& a) { return ArpaToIP(a[0]); }},
    {"DataToArpa", [](const Args& a) { return DataToArpa(a[0]); }},
    {"RTypeN", [](const Args& a) { return RTypeN(std::stoi(a[0])); }},
    {"RCodeN", [](const Args& a) { return RCodeN(std::stoi(a[0])); }},
    {"OpCodeN", [](const Args& a) { return OpCodeN(std::stoi(a[0])); }},
    {"ClassN", [](const Args& a) { return ClassN(std::stoi(a[0])); }},
    {"CleanName", [](const Args& a) { return CleanName(a[0]); }},
};

} // namespace

TEST(CodecTable, EachCallGivesItsExpectedResult)
{
    std::ifstream in(QUORVANE_WIRE_DATA "/codec_calls.txt");
    size_t checked = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        Args args = fields(line);
        const std::string expected = args.back();
        args.pop_back();
        const auto call = kCalls.find(args[0]);
        ASSERT_NE(call, kCalls.end()) << line;
        EXPECT_EQ(call->second(Args(args.begin() + 1, args.end())), expected) << line;
        ++checked;
    }
    EXPECT_GE(checked, 140u);
}

// The largest offset a pointer can hold, read and written; a name further back is written in full.
TEST(CodecTable, PointersReachFourteenBitsAndLongsThirtyTwo)
{
    test::ErrorCapture errors;
    const Bytes farName = Bytes(16383, 'x') + test::wire({1, "a", 0});
    const Bytes message = farName + test::wire({0xFF, 0xFF});
    std::string_view rest = std::string_view(message).substr(16386);
    EXPECT_EQ(ExtractName(message, rest, true), "a.");
    EXPECT_EQ(ZipName("a.", farName), test::wire({0xFF, 0xFF}));
    EXPECT_TRUE(errors.labels.empty());
    EXPECT_EQ(ZipName("a.", 'x' + farName), test::wire({1, "a", 0})) << "written in full";
    EXPECT_EQ(errors.labels, std::vector<std::string>{"modDNS ZipName"});
    // Beyond 32 bits a long is reported and written as nothing.
    for (double value : {2147483648.0, -2147483649.0, std::nan("")})
        EXPECT_EQ(MakeLong(value), "") << value;
    EXPECT_EQ(errors.labels.size(), 4u);
}

} // namespace quorvane
