// The engine's life with a fake network and clock: start-up, bind failures, pause/start, close,
// and the error guard. Each test's steps and what the front end is told are kept in a golden file.
#include "net/error_hook.h"
#include "support/call_table.h"
#include "support/engine_fixture.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quorvane::test {

namespace {

void expectStartupGolden(const std::string& name, const std::string& transcript)
{
    expectGoldenFile(QUORVANE_SCENARIO_DATA "/startup_" + name + ".txt", transcript);
}

} // namespace

TEST(Startup, StartsInOrderPausesRestartsAndWritesItsFiles)
{
    EngineFixture f;
    f.network.addresses = {"192.168.1.10", "10.1.2.3"};
    f.start();
    // A missing settings file is written with the defaults; without a name the caption stays.
    std::string transcript = f.told("start") + f.folder.read("quorvane.ini");
    EXPECT_EQ(f.engine->localAddresses(), (Lines{"192.168.1.10", "10.1.2.3"}));
    EXPECT_EQ(f.engine->startTime(), f.clock.now());

    // Paused, only the socket for queries to other servers and the reload port stay, on ports the
    // system chose; started again, the services bind again.
    f.engine->execute(Command::StartStop);
    transcript += f.told("pause");
    f.engine->execute(Command::StartStop);
    transcript += f.told("start again");

    // The support file on command, without an error section.
    f.engine->execute(Command::WriteSupportFile);
    const std::string support = f.folder.read("support.txt");
    EXPECT_EQ(support.find("Error Description"), std::string::npos);
    EXPECT_NE(support.find("Status    : Running\n"), std::string::npos);
    transcript += f.told("support file");

    // On a full disk the report says that the file could not be written, not where to find it.
    std::filesystem::create_symlink("/dev/full", f.folder.path() / "support.txt.tmp");
    f.engine->execute(Command::WriteSupportFile);
    EXPECT_EQ(f.folder.read("support.txt"), support);
    expectStartupGolden("in_order", transcript + f.told("support file on a full disk"));
}

TEST(Startup, PortTakenLeavesServerUpButStoppedUntilStartedAgain)
{
    EngineFixture f;
    f.network.takePort(53);
    f.start();
    // No half-bound service left behind: only the reload port, which is bound before the services.
    std::string transcript = f.told("start with port 53 taken");
    f.engine->execute(Command::StartStop);
    transcript += f.told("still taken: the operator's retry fails the same way");
    f.network.freePort(53);
    f.engine->execute(Command::StartStop);
    expectStartupGolden("port_taken", transcript + f.told("freed and started"));
}

TEST(Startup, CloseLogsReasonClosesSocketsAndTellsFrontEnd)
{
    std::string transcript;
    for (const auto reason : {CloseReason::User, CloseReason::SessionEnded, CloseReason::TaskManager}) {
        EngineFixture f;
        f.start();
        f.network.connect(f.network.findOpen(true, 53), {0x7F000001, 40000}); // closed with the rest
        f.told("start");
        f.engine->close(reason);
        transcript += f.told("close");
    }
    expectStartupGolden("close", transcript);
}

TEST(Startup, EscapingErrorBecomesReportWithLabelAndSupportFile)
{
    EngineFixture f;
    f.network.throwOnBind = true;
    f.start();
    std::string transcript = f.told("start with a fault");
    EXPECT_NE(f.folder.read("support.txt").find("Module     : modMain StartServices\n"), std::string::npos);

    // The engine goes on: the next command works once the fault is gone.
    f.network.throwOnBind = false;
    f.engine->execute(Command::StartStop);
    transcript += f.told("started without it");

    // Routines below the engine report through the hook with their own label.
    reportError("modDNS ZipName", "bad offset");
    expectStartupGolden("error", transcript + f.told("a fault below the engine"));
}

TEST(Startup, SettingsFileDrivesLogFileBindingAndCaption)
{
    EngineFixture f("name: Home.Lan\nwritelog: yes\nDNSBind: 10.9.9.9\n");
    f.start();
    // The machine has no such address.
    expectStartupGolden("settings", f.told("start") + f.folder.read("quorvane.ini"));
    f.engine->close(CloseReason::User);
    const std::string log = f.folder.read("logs/" + dateStamp(f.clock.now()) + ".log");
    EXPECT_NE(log.find("12:00:00   Program started.\r\n"), std::string::npos);
    EXPECT_NE(log.find("   Program was closed by user.\r\n"), std::string::npos);
}

TEST(Startup, AppliedOptionsRebindRunningServicesAndAreSaved)
{
    EngineFixture f;
    f.start();
    f.told("start");
    Settings accepted = f.engine->settings();
    accepted.NAME = "ns.office";
    accepted.DNSBIND = "192.168.1.10";
    f.engine->applyOptions(accepted, {"010.0.0.66"});
    // The old DNS sockets were closed; the query and reload sockets stay.
    std::string transcript = f.told("applied") + f.folder.read("quorvane.ini");
    EXPECT_EQ(f.folder.read("blocks.dat"), "; Quorvane - IP address blocks\r\n10.0.0.66\r\n");

    // While paused, applying only stores: the services stay down until started.
    f.engine->execute(Command::StartStop);
    accepted.DNSBIND.clear();
    f.engine->applyOptions(accepted, {});
    expectStartupGolden("apply", transcript + f.told("paused and applied"));
}

TEST(Startup, DnsOverTlsListensOnlyWithACertificateAndReloadsIt)
{
    EngineFixture f("TLSCertFile: /etc/dot.pem\nTLSKeyFile: /etc/dot.key\n");
    f.network.certificateError = "cannot load the certificate /etc/dot.pem";
    f.start();
    std::string transcript = f.told("start with a bad certificate");

    // Once the file is good, a reload starts the service; a later bad file leaves the loaded one.
    f.network.certificateError.clear();
    f.engine->execute(Command::ReloadRecords);
    transcript += f.told("reload with a good one");
    const SocketId listener = f.network.findOpen(true, 853);
    ASSERT_NE(listener, kNoSocket);
    f.engine->execute(Command::ReloadRecords);
    EXPECT_EQ(f.network.certificateLoads[listener], 2);
    f.network.certificateError = "bad key";
    f.engine->execute(Command::ReloadRecords);
    expectStartupGolden("tls", transcript + f.told("reload with a bad one"));

    // Its questions are answered although TCPQUERIES is off, which keeps TCP 53 for transfers.
    const SocketId client = f.network.connect(listener, {0xC0A80105, 50000});
    f.network.deliverTcp(client, framed(makeQuery(7, "localhost", 1, true)));
    const auto replies = decodeFramed(f.network.tcpSent[client]);
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_EQ(replies[0].id, 7);
}

} // namespace quorvane::test
