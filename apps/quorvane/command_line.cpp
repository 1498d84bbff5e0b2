#include "command_line.h"

namespace quorvane {

const char* const kUsage = "Usage: quorvane [--headless] [--quiet] [--dir DIR] [--version] [--help]\n"
                           "\n"
                           "  --headless  run without a window; log lines go to standard output\n"
                           "  --quiet     with --headless, print no log lines\n"
                           "  --dir DIR   program folder (settings, named.root, data/, logs/);\n"
                           "              default $QUORVANE_DIR, else the executable's folder\n"
                           "  --version   print the version and exit\n"
                           "  --help      print this text and exit\n"
                           "\n"
                           "Signals: TERM/INT close, HUP reloads DNS records, USR1 pauses or starts the server,\n"
                           "USR2 writes the support file.\n";

CommandLine parseCommandLine(const std::vector<std::string>& args)
{
    CommandLine cl;
    for (size_t i = 0; i < args.size() && cl.error.empty(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--headless") cl.headless = true;
        else if (arg == "--quiet") cl.quiet = true;
        else if (arg == "--version") cl.version = true;
        else if (arg == "--help" || arg == "-h") cl.help = true;
        else if (arg == "--dir" && i + 1 < args.size()) cl.dir = args[++i];
        else if (arg.rfind("--dir=", 0) == 0 && arg.size() > 6) cl.dir = arg.substr(6);
        else if (arg == "--dir" || arg == "--dir=") cl.error = "--dir needs a folder";
        else cl.error = "unknown argument: " + arg;
    }
    return cl;
}

} // namespace quorvane
