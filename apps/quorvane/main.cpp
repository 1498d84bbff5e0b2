// Program entry: reads the command line, leaves root when quorvane.ini names a user, then runs either
// engine wired to the real network and clock on this thread until the engine closes.
#include "command_line.h"
#include "curl_fetcher.h"
#include "engine_thread.h"
#include "headless.h"
#include "host/drop_privileges.h"
#include "host/engine.h"
#include "host/ini_file.h"
#include "host/program_folder.h"
#include "host/version.h"
#include "net/asio_loop.h"
#include "net/asio_network.h"
#include "net/system_clock.h"
#include "ui/desktop_app.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace {

using namespace quorvane;

int runHeadless(const CommandLine& cl, const std::filesystem::path& executable, const DropResult& drop)
{
    AsioLoop loop;
    AsioNetwork network(loop);
    SystemClock clock(loop);
    HeadlessFrontEnd frontEnd([&loop] { loop.stop(); });
    EngineOptions options{programFolder(cl.dir, executable), executable, !cl.quiet};
    Engine engine(network, clock, frontEnd, options);
    CurlFetcher fetcher;
    ThreadListLoader lists([&loop](std::function<void()> work) { loop.post(std::move(work)); }, &fetcher);
    engine.setListLoader(lists);

    loop.watchSignals(Engine::kSignals, [&engine](int signal) { engine.onSignal(signal); });
    engine.Main();
    if (!drop.logLine.empty()) engine.AddLine(0, drop.logLine);
    loop.run();
    return 0;
}

// A desktop is there when X11 or Wayland is named, or Qt is told which platform to use.
bool haveDisplay()
{
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') return true;
    }
    return false;
}

// The manual lies beside the program, in the installed documentation, or in the source tree.
QStringList manualCandidates(const std::filesystem::path& executable)
{
    const std::filesystem::path folder = executable.parent_path();
    QStringList candidates;
    for (const auto& path : {folder / "manual.html", folder / "../share/doc/quorvane/manual.html",
                             std::filesystem::path(QUORVANE_SOURCE_DIR) / "docs/manual.html"})
        candidates.append(QString::fromStdString(path.lexically_normal().string()));
    return candidates;
}

} // namespace

int main(int argc, char** argv)
{
    const CommandLine cl = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
    if (!cl.error.empty()) {
        std::cerr << "quorvane: " << cl.error << "\n\n" << kUsage;
        return 2;
    }
    if (cl.help) {
        std::cout << kUsage;
        return 0;
    }
    if (cl.version) {
        std::cout << "Quorvane " << versionText() << '\n';
        return 0;
    }
    const std::filesystem::path executable = executablePath(argv[0]);
    if (!cl.headless && !haveDisplay()) {
        std::cerr << "quorvane: no desktop display found; run it with --headless\n";
        return 2;
    }
    // Before any thread or socket exists; the engine reads its settings again when it starts.
    const DropResult drop = dropPrivileges(LoadINI(programFolder(cl.dir, executable)).USER);
    if (drop.outcome == DropOutcome::Failed) {
        std::cerr << "quorvane: " << drop.logLine << '\n';
        return 1;
    }
    if (cl.headless) return runHeadless(cl, executable, drop);
    if (!drop.logLine.empty()) std::cerr << "quorvane: " << drop.logLine << '\n';
    return runDesktop(
        argc, argv,
        DesktopSetup{programFolder(cl.dir, executable), executable, manualCandidates(executable),
                     [](EngineEvents& events, EngineOptions options) -> std::unique_ptr<EngineRunner> {
                         return std::make_unique<EngineThread>(events, std::move(options));
                     }});
}
