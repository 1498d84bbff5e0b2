// Shared by the fuzz targets: a clock that stands still and a host that builds every log line and
// sends nothing.
#pragma once

#include "net/clock.h"
#include "query/query_host.h"

#include <string>
#include <string_view>

namespace quorvane::fuzz {

class StillClock : public Clock
{
public:
    DateTime now() const override { return 20000.5; }
    TimerId startTimer(std::chrono::milliseconds, std::function<void()>) override { return 1; }
    void stopTimer(TimerId) override {}
};

class QuietHost : public QueryHost
{
public:
    bool wants(int) const override { return true; } // every log line is built, to reach its code
    void AddLine(int, const std::string&) override {}
    void sendDns(const Endpoint&, std::string_view) override {}
    void sendDns2(const Endpoint&, std::string_view) override {}
    void DoTray(int) override {}
    void appendDailyLog(const std::string&, const std::string&) override {}
};

} // namespace quorvane::fuzz
