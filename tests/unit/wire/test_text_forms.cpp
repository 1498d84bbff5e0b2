// The codec's text forms of addresses, reverse names, codes and host names, against a table of
// calls: each line of tests/data/wire/text_forms.txt is "Function|argument|...|expected".
#include "wire/addresses.h"
#include "wire/clean_name.h"
#include "wire/type_names.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>

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

const std::map<std::string, std::function<std::string(const Args&)>> kCalls = {
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

TEST(TextForms, EachCallGivesItsExpectedText)
{
    std::ifstream in(QUORVANE_WIRE_DATA "/text_forms.txt");
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
    EXPECT_GE(checked, 80u);
}

} // namespace quorvane
