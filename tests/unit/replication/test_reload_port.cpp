#include "replication/reload_port.h"
#include "replication_fixture.h"

#include <gtest/gtest.h>

namespace quorvane::test {
namespace {

constexpr Endpoint kLocal{0x7F000001, 50000};

TEST(ReloadPort, CommandsFromThisMachineReloadAndUnloadZones)
{
    struct Case
    {
        const char* command;
        Endpoint from;
        bool running;
        Lines lines;     // those logged, after the store's own
        Lines zones;     // zones left of example.test., copy.test. and open.test.
        size_t notified; // notifications sent
        Lines queued;
    };
    const Lines all{"example.test.", "copy.test.", "open.test."};
    const Case cases[] = {
        {"reload", kLocal, true, {"Loading DNS Records..."}, all, 0, {}},
        {"Unload Example.Test",
         kLocal,
         true,
         {"Removing Zone: example.test."},
         {"copy.test.", "open.test."},
         0,
         {}},
        {"UNLOAD nothing.test", kLocal, true, {}, all, 0, {}},
        {"RELOAD X example.test", kLocal, true, {"Loading Zone: example.test."}, all, 2, {}},
        {"reload p example.test", kLocal, false, {"Loading Zone: example.test."}, all, 0, {}},
        {"RELOAD S copy.test", kLocal, true, {"Loading Zone: copy.test."}, all, 0, {"copy.test."}},
        {"UNLOAD example.test", {0x0A000005, 50000}, true, {}, all, 0, {}},
        {"RELOAD\n", kLocal, true, {}, all, 0, {}},
        {"STOP", kLocal, true, {}, all, 0, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.command);
        ReplicationFixture f;
        ZoneNotifications notifications{f.host, f.store, f.rig.counters, f.rig.outgoing, f.queue};
        ReloadPort port{f.host, f.store, notifications, f.queue, [&] { return c.running; }};
        port.DataArrival(c.from, c.command);
        ASSERT_LE(c.lines.size(), f.host.lines.size());
        EXPECT_EQ(Lines(f.host.lines.begin(), f.host.lines.begin() + static_cast<long>(c.lines.size())),
                  c.lines);
        Lines zones;
        for (const clZone& zone : f.store.Zones())
            if (zone.Name.ends_with(".test.")) zones.push_back(zone.Name);
        std::sort(zones.begin(), zones.end());
        Lines expected = c.zones;
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(zones, expected);
        EXPECT_EQ(f.rig.queries().size(), c.notified);
        EXPECT_EQ(f.queue.queued, c.queued);
    }
}

} // namespace
} // namespace quorvane::test
