// Program entry: reads the command line, wires the engine to the real network and clock, and runs
// the one event loop until the engine closes.
#include "command_line.h"
#include "headless.h"
#include "host/engine.h"
#include "host/program_folder.h"
#include "host/version.h"
#include "net/asio_loop.h"
#include "net/asio_network.h"
#include "net/system_clock.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace {

using namespace quorvane;

int runHeadless(const CommandLine& cl, const std::filesystem::path& executable)
{
    AsioLoop loop;
    AsioNetwork network(loop);
    SystemClock clock(loop);
    HeadlessFrontEnd frontEnd([&loop] { loop.stop(); });
    EngineOptions options{programFolder(cl.dir, executable), executable, !cl.quiet};
    Engine engine(network, clock, frontEnd, options);

    loop.watchSignals({SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGUSR2}, [&engine](int signal) {
        switch (signal) {
        case SIGHUP: engine.execute(Command::ReloadRecords); break;
        case SIGUSR1: engine.execute(Command::StartStop); break;
        case SIGUSR2: engine.execute(Command::WriteSupportFile); break;
        default: engine.close(CloseReason::User); break;
        }
    });
    engine.Main();
    loop.run();
    return 0;
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
    if (!cl.headless) {
        std::cerr << "quorvane: this build has no desktop window yet; run it with --headless\n";
        return 2;
    }
    return runHeadless(cl, executablePath(argv[0]));
}
