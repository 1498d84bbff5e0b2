// The DNS-level fixture: the DNS service over a record store in a temporary program folder, on a
// fake clock, with the outgoing side on a fake network and a host that records what it is told.
// The store's own log lines go to the host's lines too.
#pragma once

#include "query/dns_service.h"
#include "support/dns_message.h"
#include "support/fake_clock.h"
#include "support/outgoing_rig.h"
#include "support/recording_query_host.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace quorvane::test {

constexpr Endpoint kClient{0x0A000005, 40000}; // 10.0.0.5

struct DnsFixture
{
    explicit DnsFixture(DateTime start = fromCalendar({2026, 11, 22, 12, 0, 0})) : clock(start)
    {
        std::filesystem::create_directories(folder.path() / "data");
    }

    // Writes a file of the program folder and loads the permanent records again.
    void load(const std::string& file, const std::string& text)
    {
        folder.write(file, text);
        store.LoadPerm();
    }
    // The one reply to a query (ok is false when none came); tcp: the connection it came on.
    DecodedReply ask(const Bytes& query, Endpoint from = kClient, SocketId tcp = kNoSocket)
    {
        host.replies.clear();
        dns.ProcReq(from, query, tcp);
        if (host.replies.size() != 1) return {};
        last = host.replies[0].message;
        const DecodedReply reply = decodeReply(last);
        EXPECT_TRUE(reply.ok) << "a reply with bytes left over or missing";
        return reply;
    }
    DecodedReply ask(const std::string& name, uint16_t type, bool rd = true, Endpoint from = kClient)
    {
        return ask(makeQuery(42, name, type, rd), from);
    }

    FakeClock clock;
    TempFolder folder;
    RecordingQueryHost host;
    OutgoingRig rig;
    RecordStore store{clock, folder.path(), [this](int, const std::string& text) { host.lines.push_back(text); }};
    DnsService dns{host, clock, store, rig.counters, rig.outgoing};
    Bytes last; // the last reply, as sent
};

} // namespace quorvane::test
