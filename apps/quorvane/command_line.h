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

// --dir when given, else $QUORVANE_DIR when set, else the folder that holds the executable.
std::filesystem::path programFolder(const CommandLine& cl, const std::filesystem::path& executable);

extern const char* const kUsage;

} // namespace quorvane
