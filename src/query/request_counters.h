// The request and reply counters of the whole server: the DNS service, NOTIFY, the TCP service
// and DHCP all count here. The engine owns them; the status bar, the graph and the support report
// read them.
#pragma once

#include "net/clock.h"

#include <array>
#include <cstdint>

namespace quorvane {

struct RequestCounters
{
    // Counted as 64-bit so that a long-running server never wraps.
    uint64_t RequestCount = 0;
    uint64_t ReplyCount = 0;
    // Requests per second of the current minute, indexed by the second (0-59).
    std::array<uint16_t, 60> RequestsPerSecond{};
    // Questions answered for the block lists, in all and in each second of the current minute.
    uint64_t BlockedCount = 0;
    std::array<uint16_t, 60> BlockedPerSecond{};

    // One request, in RequestCount and in the slot of the second of now.
    void countRequest(DateTime now)
    {
        ++RequestCount;
        const auto second = static_cast<size_t>(toCalendar(now).second);
        if (RequestsPerSecond[second] < UINT16_MAX) ++RequestsPerSecond[second];
        RequestsPerSecond[(second + 1) % 60] = 0; // the slot ahead starts clean for the next second
        BlockedPerSecond[(second + 1) % 60] = 0;
    }
    // One blocked question, counted after its request.
    void countBlocked(DateTime now)
    {
        ++BlockedCount;
        const auto second = static_cast<size_t>(toCalendar(now).second);
        if (BlockedPerSecond[second] < UINT16_MAX) ++BlockedPerSecond[second];
    }
};

} // namespace quorvane
