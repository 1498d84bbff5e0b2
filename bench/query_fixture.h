// A query path without sockets for the benchmarks: the DNS service over a store loaded from a
// zone of 10 000 names and a hosts file, a lease table of one lease, and a clock that stands
// still; replies are counted, not kept, and logging is off.
#pragma once

#include "query/dns_service.h"
#include "wire/addresses.h"
#include "wire/names.h"
#include "wire/numbers.h"

#include <filesystem>
#include <fstream>

namespace quorvane::bench {

struct StillClock : Clock
{
    DateTime now() const override { return fromCalendar({2026, 11, 22, 12, 0, 0}); }
    TimerId startTimer(std::chrono::milliseconds, std::function<void()>) override { return 0; }
    void stopTimer(TimerId) override {}
};

struct CountingHost : QueryHost
{
    bool wants(int) const override { return false; }
    void AddLine(int, const std::string&) override {}
    void sendDns(const Endpoint&, std::string_view message) override { bytes += message.size(); }
    void sendDnsTcp(SocketId, std::string_view message) override { bytes += message.size(); }
    void DoTray(int) override {}
    void appendDailyLog(const std::string&, const std::string&) override {}
    size_t bytes = 0;
};

// Local answers never need a socket of their own.
struct NoNetwork : Network
{
    void setEvents(NetworkEvents*) override {}
    SocketId bindUdp(const std::string&, uint16_t) override { return kNoSocket; }
    SocketId bindDhcp(const std::string&) override { return kNoSocket; }
    SocketId listenTcp(const std::string&, uint16_t) override { return kNoSocket; }
    SocketId listenTls(const std::string&, uint16_t, const std::string&, const std::string&, std::string&) override
    {
        return kNoSocket;
    }
    bool reloadTlsCertificate(SocketId, const std::string&, const std::string&, std::string&) override { return false; }
    SocketId connectTcp(const Endpoint&) override { return kNoSocket; }
    SocketId connectTls(const Endpoint&, const std::string&, const std::string&) override { return kNoSocket; }
    void sendTo(SocketId, const Endpoint&, std::string_view) override {}
    void sendTcp(SocketId, std::string_view) override {}
    uint16_t localPort(SocketId) const override { return 0; }
    void close(SocketId) override {}
    std::vector<std::string> localAddresses() const override { return {}; }
};

// One lease: desktop-kitchen.home.lan. at 192.168.1.50.
struct OneLease : LeaseLookup
{
    std::optional<LeaseAnswer> leaseAddress(std::string_view name) const override
    {
        if (name != "desktop-kitchen.home.lan.") return std::nullopt;
        return LeaseAnswer{"192.168.1.50", 3600};
    }
    std::optional<LeaseAnswer> leaseName(std::string_view address) const override
    {
        if (address != "192.168.1.50") return std::nullopt;
        return LeaseAnswer{"desktop-kitchen.home.lan.", 3600};
    }
};

// A standard query with RD set.
inline Bytes query(const std::string& name, int type = 1)
{
    Bytes q =
        MakeShort(0x1234) + MakeShort(0x0100) + MakeShort(1) + MakeShort(0) + MakeShort(0) + MakeShort(0);
    return q + ZipName(name, "") + MakeShort(type) + MakeShort(1);
}

struct QueryFixture
{
    StillClock clock;
    CountingHost host;
    OneLease lease;
    std::filesystem::path folder = std::filesystem::temp_directory_path() / "quorvane-bench-query";
    RecordStore store{clock, folder, [](int, const std::string&) {}};
    NoNetwork network;
    RequestCounters counters;
    OutgoingQueries outgoing{network};
    DnsService dns{host, clock, store, counters, outgoing};

    QueryFixture()
    {
        std::filesystem::create_directories(folder / "data");
        std::ofstream zone(folder / "data" / "bench.test.dns");
        zone << "@ IN SOA ns.bench.test. admin.bench.test. 1 3600 600 86400 300\n@ IN NS ns\nns IN A "
                "10.0.0.1\n";
        for (int i = 0; i < 10000; ++i)
            zone << "host" << i << " IN A 10.1." << i / 256 << '.' << i % 256 << '\n';
        zone.close();
        std::ofstream(folder / "hosts") << "192.168.1.20 printer-upstairs.home.lan\n";
        store.configure({"hosts", 3600, 0, false});
        store.LoadBoot();
        store.LoadHosts();
        store.CacheAdd("www.example-shop.com.", rtype::A, 3600, IPToData("93.184.216.34"), 0);
        dns.setLeases(&lease);
    }
    ~QueryFixture() { std::filesystem::remove_all(folder); }
    QueryFixture(const QueryFixture&) = delete;
    QueryFixture& operator=(const QueryFixture&) = delete;
};

} // namespace quorvane::bench
