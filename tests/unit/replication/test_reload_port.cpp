#include "replication/reload_port.h"
#include "replication_fixture.h"

#include <gtest/gtest.h>

#include <set>

namespace quorvane::test {
namespace {

constexpr Endpoint kLocal{0x7F000001, 50000};

// Each command on a fresh store: what it logs, the zones left, notifications sent and zones queued.
TEST(ReloadPort, CommandsFromThisMachineReloadAndUnloadZones)
{
    const std::tuple<std::string, Endpoint, bool> cases[] = { // command, sender, server running
        {"reload", kLocal, true},
        {"Unload Example.Test", kLocal, true},
        {"UNLOAD nothing.test", kLocal, true},
        {"RELOAD X example.test", kLocal, true},
        {"reload p example.test", kLocal, false},
        {"RELOAD S copy.test", kLocal, true},
        {"UNLOAD example.test", {0x0A000005, 50000}, true},
        {"RELOAD\n", kLocal, true},
        {"STOP", kLocal, true},
    };
    std::string transcript;
    for (const auto& [command, from, running] : cases) {
        ReplicationFixture f;
        ZoneNotifications notifications{f.host, f.store, f.rig.counters, f.rig.outgoing, f.queue};
        ReloadPort port{f.host, f.store, notifications, f.queue, [running = running] { return running; }};
        port.DataArrival(from, command);
        transcript += "command: " + command + (from.address == kLocal.address ? "" : " (remote)") +
                      (running ? "" : " (paused)") + "\n" + logLines(f.host.lines) + "zones:";
        std::set<std::string> zones;
        for (const clZone& zone : f.store.Zones())
            if (zone.Name.ends_with(".test.")) zones.insert(zone.Name);
        for (const std::string& zone : zones)
            transcript += " " + zone;
        transcript += "\nnotifications sent: " + std::to_string(f.rig.queries().size()) + "\n";
        for (const std::string& zone : f.queue.queued)
            transcript += "queued: " + zone + "\n";
    }
    expectGolden("reload_commands.txt", transcript);
}

} // namespace
} // namespace quorvane::test
