// The engine's life with a fake network and clock: start-up, bind failures, pause/start, close,
// and the error guard.
#include "net/error_hook.h"
#include "support/engine_fixture.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quorvane::test {

TEST(Startup, StartsInOrderPausesRestartsAndWritesItsFiles)
{
    EngineFixture f;
    f.network.addresses = {"192.168.1.10", "10.1.2.3"};
    f.start();

    EXPECT_EQ(f.events.lines, (Lines{"Program started.", "Loading DNS Records...", "Loading root DNS server records...",
                                     "-> File not found!", "Loading IP address blocks...", "Loading DHCP Leases...",
                                     "DNS service started."}));
    EXPECT_TRUE(f.dnsBound());
    EXPECT_EQ(f.network.open().at(f.network.findOpen(false, 53)).address, ""); // all interfaces
    EXPECT_TRUE(f.engine->serverRunning());
    EXPECT_EQ(f.events.states, std::vector<bool>{true});
    EXPECT_EQ(f.events.status, "Uptime...");
    EXPECT_EQ(f.engine->localAddresses(), (Lines{"192.168.1.10", "10.1.2.3"}));
    EXPECT_EQ(f.engine->startTime(), f.clock.now());
    EXPECT_TRUE(f.events.messages.empty());

    // A missing settings file is written with the defaults; without a name the caption stays.
    const std::string port = std::to_string(f.engine->reloadPort());
    EXPECT_EQ(f.folder.read("quorvane.ini"), "HostsTTL: 3600 \nDNSRecursion: <all>\nReloadPort: " + port + " \nBombLevel: 0 \n");
    EXPECT_EQ(f.events.caption, ""); // no name: the caption stays as it is

    // Paused, only the socket for queries to other servers and the reload port stay, on ports the
    // system chose; started again, the services bind again.
    f.engine->execute(Command::StartStop);
    EXPECT_FALSE(f.engine->serverRunning());
    EXPECT_FALSE(f.dnsBound());
    ASSERT_EQ(f.network.open().size(), 2u);
    for (const auto& [id, bound] : f.network.open()) {
        EXPECT_FALSE(bound.tcp);
        EXPECT_NE(bound.port, 53);
    }
    EXPECT_EQ(f.events.lines.back(), "Server paused.");
    EXPECT_EQ(f.events.status, "Paused");

    f.engine->execute(Command::StartStop);
    EXPECT_TRUE(f.engine->serverRunning());
    EXPECT_TRUE(f.dnsBound());
    EXPECT_EQ(f.events.states, (std::vector<bool>{true, false, true}));
    EXPECT_EQ(f.events.lines.back(), "DNS service started.");

    // The support file on command, without an error section.
    f.engine->execute(Command::WriteSupportFile);
    const std::string support = f.folder.read("support.txt");
    EXPECT_EQ(support.find("Error Description"), std::string::npos);
    EXPECT_NE(support.find("Status    : Running\n"), std::string::npos);
    ASSERT_EQ(f.events.reports.size(), 1u);
    EXPECT_NE(f.events.reports[0].find("state your question, suggestion or problem."), std::string::npos);

    // On a full disk the report says that the file could not be written, not where to find it.
    std::filesystem::create_symlink("/dev/full", f.folder.path() / "support.txt.tmp");
    f.engine->execute(Command::WriteSupportFile);
    ASSERT_EQ(f.events.reports.size(), 2u);
    EXPECT_EQ(f.events.reports[1], "The support file \"" + (f.folder.path() / "support.txt").string() +
                                       "\" could not be written: No space left on device");
    EXPECT_EQ(f.folder.read("support.txt"), support);
}

TEST(Startup, PortTakenLeavesServerUpButStoppedUntilStartedAgain)
{
    EngineFixture f;
    f.network.takePort(53);
    f.start();

    EXPECT_FALSE(f.engine->serverRunning());
    EXPECT_EQ(f.events.lines.back(), "Binding DNS service failed - DNS service not started!");
    EXPECT_EQ(f.events.messages, (Lines{"Could not start DNS service!\nPort used by other DNS server."}));
    EXPECT_EQ(f.events.status, "Could not start DNS service.");
    EXPECT_EQ(f.events.tray, 2);
    // No half-bound service left behind: only the reload port, which is bound before the services.
    ASSERT_EQ(f.network.open().size(), 1u);
    EXPECT_EQ(f.network.open().begin()->second.address, "127.0.0.1");
    EXPECT_EQ(f.network.open().begin()->second.port, f.engine->reloadPort());

    // Still taken: the operator's retry fails the same way.
    f.engine->execute(Command::StartStop);
    EXPECT_FALSE(f.engine->serverRunning());
    EXPECT_EQ(f.events.messages.size(), 2u);

    f.network.freePort(53);
    f.engine->execute(Command::StartStop);
    EXPECT_TRUE(f.dnsBound());
    EXPECT_EQ(f.events.tray, 0);
}


TEST(Startup, CloseLogsReasonClosesSocketsAndTellsFrontEnd)
{
    const std::pair<CloseReason, const char*> cases[] = {
        {CloseReason::User, "Program was closed by user."},
        {CloseReason::SessionEnded, "Program was closed because Windows session ended."},
        {CloseReason::TaskManager, "Program was closed through Windows Task Manager."}};
    for (const auto& [reason, line] : cases) {
        EngineFixture f;
        f.start();
        f.network.connect(f.network.findOpen(true, 53), {0x7F000001, 40000}); // closed with the rest
        f.engine->close(reason);
        EXPECT_EQ(f.events.lines.back(), line);
        EXPECT_TRUE(f.events.closed);
        EXPECT_TRUE(f.network.open().empty());
    }
}

TEST(Startup, EscapingErrorBecomesReportWithLabelAndSupportFile)
{
    EngineFixture f;
    f.network.throwOnBind = true;
    f.start();

    ASSERT_EQ(f.events.reports.size(), 1u);
    const std::string& report = f.events.reports[0];
    EXPECT_EQ(report.rfind("An error has occured in Quorvane!\n\nError:0 socket table corrupted\n"
                           "Module: modMain StartServices\n",
                           0),
              0u)
        << report;
    EXPECT_NE(report.find("\"" + (f.folder.path() / "support.txt").string() + "\""), std::string::npos);
    const std::string support = f.folder.read("support.txt");
    EXPECT_NE(support.find("Module     : modMain StartServices\n"), std::string::npos);
    EXPECT_FALSE(f.engine->serverRunning());

    // The engine goes on: the next command works once the fault is gone.
    f.network.throwOnBind = false;
    f.engine->execute(Command::StartStop);
    EXPECT_TRUE(f.engine->serverRunning());

    // Routines below the engine report through the hook with their own label.
    reportError("modDNS ZipName", "bad offset");
    ASSERT_EQ(f.events.reports.size(), 2u);
    EXPECT_NE(f.events.reports[1].find("Module: modDNS ZipName\n"), std::string::npos);
}


TEST(Startup, SettingsFileDrivesLogFileBindingAndCaption)
{
    EngineFixture f("name: Home.Lan\nwritelog: yes\nDNSBind: 10.9.9.9\n");
    f.start();

    EXPECT_EQ(f.events.caption, "home.lan - Quorvane");
    EXPECT_FALSE(f.engine->serverRunning()); // the machine has no such address
    EXPECT_EQ(f.events.lines.back(), "Binding DNS service to 10.9.9.9 failed - DNS service not started!");
    EXPECT_EQ(f.events.messages, (Lines{"Could not start DNS service on 10.9.9.9"}));
    EXPECT_EQ(f.events.status, "Could not start DNS service on 10.9.9.9");
    EXPECT_EQ(f.folder.read("quorvane.ini"), "Name: home.lan\nHostsTTL: 3600 \nDNSBind: 10.9.9.9\n"
                                             "DNSRecursion: <all>\nWriteLog: YES\nReloadPort: " +
                                                 std::to_string(f.engine->reloadPort()) + " \nBombLevel: 0 \n");
    f.engine->close(CloseReason::User);
    const std::string log = f.folder.read("logs/" + dateStamp(f.clock.now()) + ".log");
    EXPECT_NE(log.find("12:00:00   Program started.\r\n"), std::string::npos);
    EXPECT_NE(log.find("   Program was closed by user.\r\n"), std::string::npos);
}

TEST(Startup, AppliedOptionsRebindRunningServicesAndAreSaved)
{
    EngineFixture f;
    f.start();
    Settings accepted = f.engine->settings();
    accepted.NAME = "ns.office";
    accepted.DNSBIND = "192.168.1.10";
    f.engine->applyOptions(accepted, {"010.0.0.66"});

    EXPECT_TRUE(f.engine->serverRunning());
    EXPECT_EQ(f.network.open().at(f.network.findOpen(false, 53)).address, "192.168.1.10");
    EXPECT_EQ(f.network.open().size(), 4u); // the old DNS sockets were closed; query and reload sockets stay
    EXPECT_EQ(f.events.lines.back(), "DNS service started on 192.168.1.10");
    EXPECT_EQ(f.events.caption, "ns.office - Quorvane");
    EXPECT_NE(f.folder.read("quorvane.ini").find("DNSBind: 192.168.1.10\n"), std::string::npos);
    EXPECT_EQ(f.folder.read("blocks.dat"), "; Quorvane - IP address blocks\r\n10.0.0.66\r\n");

    // While paused, applying only stores: the services stay down until started.
    f.engine->execute(Command::StartStop);
    accepted.DNSBIND.clear();
    f.engine->applyOptions(accepted, {});
    EXPECT_FALSE(f.engine->serverRunning());
    EXPECT_FALSE(f.dnsBound());
}

TEST(Startup, DnsOverTlsListensOnlyWithACertificateAndReloadsIt)
{
    EngineFixture f("TLSCertFile: /etc/dot.pem\nTLSKeyFile: /etc/dot.key\n");
    f.network.certificateError = "cannot load the certificate /etc/dot.pem";
    f.start();
    EXPECT_TRUE(f.dnsBound());
    EXPECT_EQ(f.events.lines.back(), "DNS over TLS not started: cannot load the certificate /etc/dot.pem");
    EXPECT_EQ(f.network.findOpen(true, 853), kNoSocket);

    // Once the file is good, a reload starts the service; a later bad file leaves the loaded one.
    f.network.certificateError.clear();
    f.engine->execute(Command::ReloadRecords);
    const SocketId listener = f.network.findOpen(true, 853);
    ASSERT_NE(listener, kNoSocket);
    EXPECT_EQ(f.events.lines.back(), "DNS over TLS service started.");
    f.engine->execute(Command::ReloadRecords);
    EXPECT_EQ(f.network.certificateLoads[listener], 2);
    f.network.certificateError = "bad key";
    f.engine->execute(Command::ReloadRecords);
    EXPECT_EQ(f.events.lines.back(), "TLS certificate not reloaded: bad key");
    EXPECT_TRUE(f.network.isOpen(listener));

    // Its questions are answered although TCPQUERIES is off, which keeps TCP 53 for transfers.
    const SocketId client = f.network.connect(listener, {0xC0A80105, 50000});
    f.network.deliverTcp(client, framed(makeQuery(7, "localhost", 1, true)));
    const auto replies = decodeFramed(f.network.tcpSent[client]);
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_EQ(replies[0].id, 7);
}


} // namespace quorvane::test
