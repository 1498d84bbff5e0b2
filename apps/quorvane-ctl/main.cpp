// quorvane-ctl: tells a running Quorvane to reload its records, reload one zone or unload one,
// through the reload port that the server names in its quorvane.ini; changes zone files in its
// data/ and has the server reload them.
#include "ctl_command_line.h"
#include "host/ini_file.h"
#include "host/program_folder.h"
#include "host/version.h"
#include "reload_port.h"
#include "zone_commands.h"

#include <fstream>
#include <iostream>
#include <optional>

namespace {

using namespace quorvane;

// The server reads no more of its settings file than this; neither do we.
constexpr std::streamsize kMaxIniBytes = 4 << 20;
// Long enough for the loopback's port-unreachable, short enough not to be noticed.
constexpr std::chrono::milliseconds kRefusalWait{300};

void complain(const std::string& message)
{
    std::cerr << "quorvane-ctl: " << message << '\n';
}

// The port from folder/quorvane.ini; nullopt, after saying why, when there is none to use.
std::optional<uint16_t> reloadPortOf(const std::filesystem::path& folder)
{
    std::error_code ec;
    if (!std::filesystem::is_directory(folder, ec)) {
        complain("program folder " + folder.string() + " does not exist");
        return std::nullopt;
    }
    const auto ini = folder / kIniFileName;
    if (!std::filesystem::is_regular_file(ini, ec)) {
        complain("no " + std::string(kIniFileName) + " in " + folder.string() + " (has Quorvane run there?)");
        return std::nullopt;
    }
    std::ifstream in(ini, std::ios::binary);
    std::string text(static_cast<size_t>(kMaxIniBytes), '\0');
    in.read(text.data(), kMaxIniBytes);
    if (in.bad()) {
        complain("cannot read " + ini.string());
        return std::nullopt;
    }
    text.resize(static_cast<size_t>(in.gcount()));
    const ReloadPortLine line = reloadPortIn(text);
    if (!line.present) complain(ini.string() + " has no ReloadPort line (is Quorvane running there?)");
    else if (line.port == 0) complain(ini.string() + ": ReloadPort holds no port (the server has none open)");
    return line.port != 0 ? std::optional<uint16_t>(line.port) : std::nullopt;
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
    const auto port = reloadPortOf(folder);
    return port ? send(command, *port) : 1;
}
