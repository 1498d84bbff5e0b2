// A QueryHost that records log lines, replies and tray changes, for query-path tests.
#pragma once

#include "query/query_host.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quorvane::test {

struct RecordingQueryHost : QueryHost {
    struct Reply {
        Endpoint to;
        Bytes message;
    };
    bool wants(int level) const override { return level <= maxLevel; }
    void AddLine(int level, const std::string& text) override
    {
        if (!wants(level)) ADD_FAILURE() << "line built although its level is off: " << text;
        lines.push_back(text);
    }
    void sendDns(const Endpoint& to, std::string_view message) override { replies.push_back({to, Bytes(message)}); }
    void sendDnsTcp(SocketId connection, std::string_view message) override
    {
        replies.push_back({{0, static_cast<uint16_t>(connection)}, Bytes(message)});
    }
    void DoTray(int state) override { tray = state; }
    void appendDailyLog(const std::string& suffix, const std::string& text) override { dailyLogs.push_back(suffix + ": " + text); }

    int maxLevel = 3; // -1: logging off
    std::vector<std::string> lines;
    std::vector<Reply> replies;
    // replies sent on a TCP connection have address 0 and the connection as their port
    int tray = 0;
    std::vector<std::string> dailyLogs;
};

} // namespace quorvane::test
