// Where the program folder is: the one rule the server and its companion tools share, so that
// both find the same quorvane.ini. Reads the environment and /proc, nothing else.
#pragma once

#include <filesystem>

namespace quorvane {

// dirArgument (from --dir) when given, else $QUORVANE_DIR when set and not empty, else the folder
// that holds the executable; but an executable in the folder it is installed to (/usr/bin from the
// package) uses the installed server's folder (/var/lib/quorvane). The folder is not checked.
std::filesystem::path programFolder(const std::filesystem::path& dirArgument,
                                    const std::filesystem::path& executable);

// The running executable's path from /proc/self/exe; argv0 made absolute when that cannot be read.
std::filesystem::path executablePath(const char* argv0);

} // namespace quorvane
