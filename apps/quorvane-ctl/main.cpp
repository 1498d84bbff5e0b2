// quorvane-ctl: tells a running Quorvane to reload its records, reload one zone or unload one,
// through the reload port that the server names in its quorvane.ini; changes zone files in its
// data/ and has the server reload them.
#include "ctl_command_line.h"
#include "host/ini_file.h"
#include "host/program_folder.h"
#include "host/version.h"
#include "replication/reload_client.h"
#include "zone_commands.h"

#include <iostream>
#include <optional>

namespace {

using namespace quorvane;

// Long enough for the loopback's port-unreachable, short enough not to be noticed.
constexpr std::chrono::milliseconds kRefusalWait{300};

void complain(const std::string& message)
{
    std::cerr << "quorvane-ctl: " << message << '\n';
}

int send(const std::string& command, uint16_t port)
{
    const std::string where = "127.0.0.1:" + std::to_string(port);
    const SendResult result = sendToReloadPort(port, command, kRefusalWait);
    if (result.outcome == SendOutcome::Sent) {
        std::cout << "Sent '" << command << "' to the server on " << where << '\n';
        return 0;
    }
    if (result.outcome == SendOutcome::Refused)
        complain("no server is listening on " + where + " (is Quorvane running?)");
    else
        complain("cannot send to " + where + ": " + result.failure);
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    const CtlCommandLine cl = parseCtlCommandLine(std::vector<std::string>(argv + 1, argv + argc));
    if (!cl.error.empty()) {
        complain(cl.error + " (see --help)");
        return 2;
    }
    if (cl.help) {
        std::cout << kCtlUsage;
        return 0;
    }
    if (cl.version) {
        std::cout << "quorvane-ctl (Quorvane " << versionText() << ")\n";
        return 0;
    }
    const std::filesystem::path folder = programFolder(cl.dir, executablePath(argv[0]));
    std::string command = cl.command;
    if (!cl.edit.empty()) {
        const ZoneCommandResult result = runZoneCommand(cl, folder);
        if (!result.error.empty()) complain(result.error);
        if (!result.error.empty() || result.reload.empty()) return result.error.empty() ? 0 : 1;
        command = result.reload;
    }
    std::string error;
    const auto port = reloadPortOf(folder, kIniFileName, error);
    if (!port) complain(error);
    return port ? send(command, *port) : 1;
}
