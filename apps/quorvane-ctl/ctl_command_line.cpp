#include "ctl_command_line.h"

#include <algorithm>

namespace quorvane {

namespace {

// What the reload port understands: one command per datagram, no line end.
constexpr const char* kReloadAll = "RELOAD";
constexpr const char* kReloadZone = "RELOAD P ";
constexpr const char* kUnloadZone = "UNLOAD ";

// The zone part of a command; empty (with error set) when the name cannot be sent.
std::string zoneName(const std::string& word, const std::string& command, std::string& error)
{
    std::string zone = word;
    if (!zone.empty() && zone.back() == '.') zone.pop_back();
    // The server reads the rest of the datagram as the name, so a blank would change the command.
    const bool blank = std::any_of(zone.begin(), zone.end(), [](char c) { return c >= 0 && c <= ' '; });
    if (zone.empty()) error = command + " needs a zone name";
    else if (blank) error = "zone name '" + word + "' contains a blank or control character";
    return error.empty() ? zone : std::string();
}

// The zone-file commands and the words each takes after its name.
struct EditCommand
{
    const char* name;
    size_t words;
    const char* needs;
};
constexpr EditCommand kEditCommands[] = {
    {"zones", 0, ""},
    {"records", 1, "a zone name"},
    {"add-record", 2, "a zone name and a record ('NAME [TTL] TYPE DATA')"},
    {"delete-record", 2, "a zone name and a record ('NAME TYPE [DATA]')"},
    {"set-serial", 2, "a zone name and a serial number"},
};

bool serialNumber(const std::string& word)
{
    const bool digits = std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (word.empty() || word.size() > 10 || !digits) return false;
    return std::stoull(word) <= 0xFFFFFFFFull;
}

// Takes the command's words off args from i on; sets error when they are missing or wrong.
void readEditCommand(const EditCommand& command, const std::vector<std::string>& args, size_t& i,
                     CtlCommandLine& cl)
{
    cl.edit = command.name;
    for (size_t n = 0; n < command.words; ++n) {
        if (i + 1 >= args.size() || args[i + 1].empty()) {
            cl.error = std::string(command.name) + " needs " + command.needs;
            return;
        }
        cl.editArgs.push_back(args[++i]);
    }
    if (cl.edit == "set-serial" && !serialNumber(cl.editArgs[1]))
        cl.error = "serial '" + cl.editArgs[1] + "' is not a number from 0 to 4294967295";
}

const EditCommand* findEditCommand(const std::string& word)
{
    for (const EditCommand& command : kEditCommands)
        if (word == command.name) return &command;
    return nullptr;
}

} // namespace

const char* const kCtlUsage = "Usage: quorvane-ctl [--dir DIR] COMMAND\n"
                              "       quorvane-ctl --help | --version\n"
                              "\n"
                              "Sends COMMAND to the Quorvane server that runs on program folder DIR.\n"
                              "\n"
                              "Commands:\n"
                              "  reload            reload all DNS records (zones, hosts file, root hints)\n"
                              "  reload-zone ZONE  reload one zone: a primary zone from its file, then notify its\n"
                              "                    secondaries; a secondary zone from its primary\n"
                              "  unload ZONE       stop serving a zone until the next reload\n"
                              "\n"
                              "  zones             list the zone files in DIR/data\n"
                              "  records ZONE      print the records of a zone file\n"
                              "  add-record ZONE 'NAME [TTL] TYPE DATA'\n"
                              "                    add a record to a zone file\n"
                              "  delete-record ZONE 'NAME TYPE [DATA]'\n"
                              "                    delete the records of that name and type (and data)\n"
                              "  set-serial ZONE N set the serial of a zone\n"
                              "                    Changes keep the file's comments, raise the serial\n"
                              "                    (YYYYMMDDnn or +1) and end with a reload of the zone.\n"
                              "\n"
                              "  --dir DIR         program folder of the server (where quorvane.ini is);\n"
                              "                    default $QUORVANE_DIR, else this executable's folder\n"
                              "  --version         print the version and exit\n"
                              "  --help            print this text and exit\n";

CtlCommandLine parseCtlCommandLine(const std::vector<std::string>& args)
{
    CtlCommandLine cl;
    for (size_t i = 0; i < args.size() && cl.error.empty(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--version") cl.version = true;
        else if (arg == "--help" || arg == "-h") cl.help = true;
        else if (arg == "--dir" && i + 1 < args.size()) cl.dir = args[++i];
        else if (arg.rfind("--dir=", 0) == 0 && arg.size() > 6) cl.dir = arg.substr(6);
        else if (arg == "--dir" || arg == "--dir=") cl.error = "--dir needs a folder";
        else if (!cl.command.empty() || !cl.edit.empty()) cl.error = "unexpected argument: " + arg;
        else if (const EditCommand* edit = findEditCommand(arg)) readEditCommand(*edit, args, i, cl);
        else if (arg == "reload") cl.command = kReloadAll;
        else if (arg == "reload-zone" || arg == "unload") {
            // A word that looks like an option is not taken as the zone: "unload --dir X" lacks one.
            const bool given = i + 1 < args.size() && args[i + 1].rfind('-', 0) != 0;
            const std::string zone = zoneName(given ? args[++i] : std::string(), arg, cl.error);
            if (cl.error.empty()) cl.command = (arg == "unload" ? kUnloadZone : kReloadZone) + zone;
        } else if (arg.rfind('-', 0) == 0) cl.error = "unknown option: " + arg;
        else cl.error = "unknown command: " + arg;
    }
    if (cl.error.empty() && cl.command.empty() && cl.edit.empty() && !cl.help && !cl.version)
        cl.error = "no command given";
    return cl;
}

} // namespace quorvane
