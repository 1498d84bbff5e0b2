// The command line: quorvane [--headless] [--quiet] [--dir DIR] [--version] [--help]
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quorvane {

struct CommandLine {
    bool headless = false;
    bool quiet = false;
    bool version = false;
    bool help = false;
    std::filesystem::path dir; // empty: not given
    std::string error;         // set when the arguments cannot be used
};

CommandLine parseCommandLine(const std::vector<std::string>& args);

extern const char* const kUsage;

} // namespace quorvane
