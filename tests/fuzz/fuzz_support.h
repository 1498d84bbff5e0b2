// Shared by the fuzz targets: a clock that stands still, a host that builds every log line and
// sends nothing, and a network whose sends go nowhere.
#pragma once

#include "net/clock.h"
#include "net/network.h"
#include "query/query_host.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace quorvane::fuzz {

// A folder of the target's own for files the code under test reads or writes; in memory where the
// system offers it, so that the file traffic of millions of runs does not reach a disk.
inline std::filesystem::path scratchFolder(const std::string& name)
{
    const std::filesystem::path shm = "/dev/shm";
    const auto path = (std::filesystem::is_directory(shm) ? shm : std::filesystem::temp_directory_path()) / name;
    std::filesystem::create_directories(path);
    return path;
}

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
    void sendDnsTcp(SocketId, std::string_view) override {}
    void DoTray(int) override {}
    void appendDailyLog(const std::string&, const std::string&) override {}
};

// Sends go nowhere; every connection is open from its first use until it is closed.
class SinkNetwork : public Network
{
public:
    void setEvents(NetworkEvents*) override {}
    SocketId bindUdp(const std::string&, uint16_t) override { return kNoSocket; }
    SocketId listenTcp(const std::string&, uint16_t) override { return kNoSocket; }
    SocketId listenTls(const std::string&, uint16_t, const std::string&, const std::string&, std::string&) override
    {
        return kNoSocket;
    }
    bool reloadTlsCertificate(SocketId, const std::string&, const std::string&, std::string&) override { return false; }
    SocketId bindDhcp(const std::string&) override { return ++lastConnection; }
    SocketId connectTcp(const Endpoint&) override { return ++lastConnection; }
    SocketId connectTls(const Endpoint&, const std::string&, const std::string&) override { return ++lastConnection; }
    void sendTo(SocketId, const Endpoint&, std::string_view) override {}
    void sendTcp(SocketId, std::string_view data) override { sent += data.size(); }
    uint16_t localPort(SocketId) const override { return 0; }
    void close(SocketId) override {}
    std::vector<std::string> localAddresses() const override { return {}; }
    size_t sent = 0;
    SocketId lastConnection = 0;
};

} // namespace quorvane::fuzz
