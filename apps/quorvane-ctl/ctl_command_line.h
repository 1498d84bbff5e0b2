// The command line of quorvane-ctl: [--dir DIR] reload | reload-zone ZONE | unload ZONE, the zone-file
// commands, --help, --version. Turns the words into the one line the server's reload port takes, or
// into a zone-file command with its words; no files, no network.
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
    // A zone-file command ("zones", "records", "add-record", "delete-record", "set-serial") and its
    // words; command stays empty until the edit is made and the zone's reload is due.
    std::string edit;
    std::vector<std::string> editArgs;
};

// A zone name may end with a dot (it is dropped: the server adds its own). A missing or empty zone
// name, an unknown command, a second command or no command at all (without --help or --version)
// set error.
CtlCommandLine parseCtlCommandLine(const std::vector<std::string>& args);

extern const char* const kCtlUsage;

} // namespace quorvane
