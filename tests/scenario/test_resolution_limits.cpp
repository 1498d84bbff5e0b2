// Broken and hostile delegation graphs against a scripted root server: each question ends in a
// server failure within its work limit, and local names are answered meanwhile.
#include "support/dns_fixture.h"
#include "wire/addresses.h"

#include <gtest/gtest.h>

#include <map>

namespace quorvane::test {

using namespace std::chrono_literals;

namespace {

constexpr uint32_t kRoot = 0x7F000002; // 127.0.0.2: serves every delegation below; others never answer
constexpr Endpoint kOtherClient{0x0A000006, 40000};

struct Delegation {
    std::vector<std::string> servers;
    std::vector<std::string> glue; // an address for each server, or none at all
};
using Graph = std::map<std::string, Delegation>; // zone -> its servers, as the root hands them out

// The root's referral for a name: the deepest delegated zone that holds it.
std::vector<WireRecord> referral(const Graph& graph, const std::string& name)
{
    std::string zone;
    for (const auto& [candidate, delegation] : graph)
        if ((name == candidate || name.ends_with("." + candidate)) && candidate.size() > zone.size()) zone = candidate;
    std::vector<WireRecord> records;
    if (zone.empty()) return records;
    const Delegation& d = graph.at(zone);
    for (size_t i = 0; i < d.servers.size(); ++i) {
        records.push_back(wireName(3, zone, 2, d.servers[i]));
        if (i < d.glue.size()) records.push_back(wireA(4, d.servers[i], d.glue[i]));
    }
    return records;
}

struct Case {
    const char* name;
    Graph graph;
    std::string question;
    size_t queries;     // sent to other servers before the client gets its failure
    bool workLimitLine; // the work limit, not the list of servers, ended it
};

// A zone whose servers ns1..nsN lie inside it: without glue, or with glue at 127.0.1.x where
// nothing answers.
Graph serversInZone(const std::string& zone, int servers, bool glue)
{
    Delegation d;
    for (int i = 1; i <= servers; ++i) {
        d.servers.push_back("ns" + std::to_string(i) + "." + zone);
        if (glue) d.glue.push_back("127.0.1." + std::to_string(i));
    }
    return {{zone, d}};
}

Graph chainOfDelegations(int links)
{
    Graph graph;
    for (int i = 0; i < links; ++i)
        graph["d" + std::to_string(i) + ".test."] = {{"ns.d" + std::to_string(i + 1) + ".test."}, {}};
    return graph;
}

} // namespace

TEST(ResolutionLimits, HostileDelegationsEndInAServerFailureWithinTheWorkLimit)
{
    const std::vector<Case> cases{
        // Every server's name lies in the zone, without glue: each sub-request needs the others.
        {"3 glueless servers", serversInZone("evil.test.", 3, false), "www.evil.test.", 1, false},
        {"13 glueless servers", serversInZone("evil.test.", 13, false), "www.evil.test.", 1, true},
        // a.test.'s server lies in b.test., whose server lies in a.test.
        {"two zones in each other", {{"a.test.", {{"ns.b.test."}, {}}}, {"b.test.", {{"ns.a.test."}, {}}}},
         "www.a.test.", 2, false},
        // Each zone's server lies in the next zone: sub-requests nest until their depth limit.
        {"20 delegations in a chain", chainOfDelegations(20), "www.d0.test.", 11, false},
        // 13 servers that never answer would take 65 queries.
        {"13 silent servers", serversInZone("silent.test.", 13, true), "www.silent.test.", 64, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DnsFixture f(fromCalendar({2026, 11, 22, 10, 0, 0}));
        auto& [clock, folder, host, rig, store, dns, last] = f;
        folder.write("named.root", ". 3600000 IN NS a.root.\na.root. 3600000 IN A 127.0.0.2\n");
        f.load("data/home.lan.dns", "@ IN SOA ns.home.lan. admin.home.lan. 1 3600 600 86400 300\n"
                                    "nas IN A 192.168.1.20\n");
        host.maxLevel = 0;
        dns.configure({});

        size_t answered = 0; // queries seen by the scripted servers
        auto serve = [&] {
            for (; answered < rig.network.sent.size(); ++answered) {
                const auto query = rig.network.sent[answered]; // a copy: answering may send more
                if (query.to.address != kRoot) continue;
                const auto records = referral(c.graph, decodeReply(query.data).qname);
                dns.ProcAns({kRoot, 53}, makeAnswer(query.data, 0, false, records));
            }
        };
        dns.ProcReq(kClient, makeQuery(7, c.question, 1, true));
        serve();
        for (int second = 0; host.replies.empty() && second < 120; ++second) {
            clock.advance(1s);
            dns.removeFinished();
            dns.retryWaiting();
            serve();
            // A local name is answered at once, whatever the resolution above is doing.
            const size_t before = host.replies.size();
            dns.ProcReq(kOtherClient, makeQuery(8, "nas.home.lan.", 1, true));
            ASSERT_EQ(host.replies.size(), before + 1);
            EXPECT_EQ(decodeReply(host.replies.back().message).section(2),
                      std::vector<std::string>{"nas.home.lan. A 192.168.1.20"});
            host.replies.pop_back();
        }
        ASSERT_EQ(host.replies.size(), 1u);
        EXPECT_EQ(decodeReply(host.replies[0].message).rcode, 2);
        EXPECT_EQ(rig.network.sent.size(), c.queries);
        EXPECT_EQ(host.dailyLogs.size(), 1u); // the fail.log entry
        const bool limitLine = std::any_of(host.lines.begin(), host.lines.end(), [](const std::string& line) {
            return line.starts_with("Work limit reached for A-record");
        });
        EXPECT_EQ(limitLine, c.workLimitLine);
        dns.removeFinished();
        EXPECT_TRUE(dns.resolver().PendingRequests.empty()); // nothing is left waiting
    }
}

} // namespace quorvane::test
