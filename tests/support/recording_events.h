// An engine front end that records what it is told, for tests.
#pragma once

#include "host/engine_events.h"

#include <string>
#include <vector>

namespace quorvane::test {

struct RecordingEvents : EngineEvents {
    void onLogLine(const std::string& line) override { lines.push_back(line.substr(11)); }
    void onMessageBox(const std::string& text, MessageIcon) override { messages.push_back(text); }
    void onErrorReport(const std::string& question, const std::string&) override { reports.push_back(question); }
    void onServerState(bool running) override { states.push_back(running); }
    void onCaption(const std::string& text) override { caption = text; }
    void onStatusText(int panel, const std::string& text) override { if (panel == 0) status = text; }
    void onTray(int state) override { tray = state; }
    void onLeases(const std::vector<clLease>& list) override { leases = list; }
    void onOptions(const OptionsData&) override {}
    void onCounters(const std::array<uint16_t, 60>& perSecond) override { counters = perSecond; }
    void onCacheSnapshot() override {}
    void onClosed() override { closed = true; }

    std::vector<std::string> lines; // texts without the "hh:mm:ss   " prefix
    std::vector<std::string> messages;
    std::vector<std::string> reports;
    std::vector<bool> states;
    std::string status;
    std::string caption;
    int tray = 0;
    std::vector<clLease> leases;
    std::array<uint16_t, 60> counters{};
    bool closed = false;
};

} // namespace quorvane::test
