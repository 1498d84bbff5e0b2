// The command line of quorvane-ctl: [--dir DIR] reload | reload-zone ZONE | unload ZONE, --help,
// --version. Turns the words into the one line the server's reload port takes; no files, no network.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quorvane {

struct CtlCommandLine {
    bool version = false;
    bool help = false;
    std::filesystem::path dir; // empty: not given
    std::string command;       // the text to send, e.g. "RELOAD P example.test"; empty with --help/--version
    std::string error;         // set when the arguments cannot be used
};

// A zone name may end with a dot (it is dropped: the server adds its own). A missing or empty zone
// name, an unknown command, a second command or no command at all (without --help or --version)
// set error.
CtlCommandLine parseCtlCommandLine(const std::vector<std::string>& args);

extern const char* const kCtlUsage;

} // namespace quorvane
