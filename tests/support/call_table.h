// Expected results kept as data. Golden files hold whole outputs. Tables of calls hold one call a
// line, "Function|argument|...|expected", with \n, \t, \r and \xHH escapes and "\|" for a bar inside
// a field; blank lines and "#" lines are notes.
#pragma once

#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace quorvane::test {

using Args = std::vector<std::string>;
using Calls = std::map<std::string, std::function<std::string(const Args&)>>;

// Compares a text with its golden file; when they differ the text is also written to NAME.actual
// in the working folder, to compare by eye.
inline void expectGoldenFile(const std::filesystem::path& file, const std::string& actual)
{
    const std::string golden = fileText(file);
    if (golden != actual) std::ofstream(file.filename().string() + ".actual", std::ios::binary) << actual;
    EXPECT_EQ(actual, golden) << file;
}

inline Args tableFields(std::string_view line)
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
            out.back() += line[i] == 'n' ? '\n' : line[i] == 't' ? '\t' : line[i] == 'r' ? '\r' : line[i];
        }
    }
    return out;
}

inline std::string yes(bool value)
{
    return value ? "true" : "false";
}

// Runs every line of the table through its function in `calls` and compares the result with the
// line's last field; at least `minimum` lines must be checked.
inline void runCallTable(const std::string& file, const Calls& calls, size_t minimum)
{
    std::istringstream in(fileText(file));
    size_t checked = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        Args args = tableFields(line);
        const std::string expected = args.back();
        args.pop_back();
        const auto call = calls.find(args[0]);
        ASSERT_NE(call, calls.end()) << line;
        EXPECT_EQ(call->second(Args(args.begin() + 1, args.end())), expected) << line;
        ++checked;
    }
    EXPECT_GE(checked, minimum) << file;
}

} // namespace quorvane::test
