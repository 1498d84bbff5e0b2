// The codec's functions against a table of calls: names and numbers in wire form, the text forms
// of addresses, reverse names, codes and host names, and the reader of messages. Each line of
// tests/data/wire/codec_calls.txt is "Function|argument|...|expected".
#include "wire/addresses.h"
#include "wire/clean_name.h"
#include "wire/names.h"
#include "wire/numbers.h"
#include "wire/type_names.h"
#include "wire/wire_reader.h"

#include "net/error_hook.h"
#include "support/call_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace quorvane {

namespace {

using test::Args;
using test::yes;

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

// The steps of a WireReader from an offset, each value in brackets (see the table).
std::string readSteps(const Args& a)
{
    WireReader r(a[0], std::stoul(a[1]));
    std::istringstream steps(a[2]);
    std::string out;
    for (std::string step; steps >> step;) {
        out += "[" + (step == "name"    ? r.name()
                      : step == "short" ? std::to_string(r.shortValue())
                      : step == "long"  ? std::to_string(static_cast<int64_t>(r.longValue()))
                      : step == "ok"    ? yes(r.ok())
                      : step == "rest"  ? std::string(r.rest())
                      : step == "data"  ? std::string(r.bytes(static_cast<size_t>(r.shortValue())))
                                        : std::string(r.bytes(std::stoul(step)))) + "]";
    }
    return out;
}

const test::Calls kCalls = {
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
    {"WireReader", readSteps},
};

} // namespace

TEST(CodecTable, EachCallGivesItsExpectedResult)
{
    test::runCallTable(QUORVANE_WIRE_DATA "/codec_calls.txt", kCalls, 144);
}

// The largest offset a pointer can hold, read and written; a name further back is written in full.
TEST(CodecTable, PointersReachFourteenBitsAndLongsThirtyTwo)
{
    std::vector<std::string> errors;
    const ErrorHandler previous =
        setErrorHandler([&errors](const std::string& label, const std::string&) { errors.push_back(label); });
    const Bytes farName = Bytes(16383, 'x') + Bytes("\x01" "a", 3);
    const Bytes message = farName + "\xFF\xFF";
    std::string_view rest = std::string_view(message).substr(16386);
    EXPECT_EQ(ExtractName(message, rest, true), "a.");
    EXPECT_EQ(ZipName("a.", farName), "\xFF\xFF");
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(ZipName("a.", 'x' + farName), Bytes("\x01" "a", 3)) << "written in full";
    EXPECT_EQ(errors, std::vector<std::string>{"modDNS ZipName"});
    // Beyond 32 bits a long is reported and written as nothing.
    for (double value : {2147483648.0, -2147483649.0, std::nan("")})
        EXPECT_EQ(MakeLong(value), "") << value;
    EXPECT_EQ(errors.size(), 4u);
    setErrorHandler(previous);
}

} // namespace quorvane
