// Broken and hostile delegation graphs against a scripted root server: each question ends in a
// server failure within its work limit, and local names are answered meanwhile.
#include "support/golden_questions.h"
#include "wire/addresses.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace quorvane::test {

using namespace std::chrono_literals;

namespace {

constexpr uint32_t kRoot = 0x7F000002; // 127.0.0.2: serves every delegation below; others never answer
constexpr Endpoint kOtherClient{0x0A000006, 40000};

// Zone -> its servers, each with its glue address or "", as the root hands them out.
using Graph = std::map<std::string, std::vector<std::pair<std::string, std::string>>>;

// The root's referral for a name: the deepest delegated zone that holds it.
std::vector<WireRecord> referral(const Graph& graph, const std::string& name)
{
    std::string zone;
    for (const auto& [candidate, servers] : graph)
        if ((name == candidate || name.ends_with("." + candidate)) && candidate.size() > zone.size()) zone = candidate;
    std::vector<WireRecord> records;
    if (zone.empty()) return records;
    for (const auto& [server, glue] : graph.at(zone)) {
        records.push_back(wireName(3, zone, 2, server));
        if (!glue.empty()) records.push_back(wireA(4, server, glue));
    }
    return records;
}

struct Case {
    std::string name, question;
    size_t queries = 0;         // sent to other servers before the client gets its failure
    bool workLimitLine = false; // the work limit, not the list of servers, ended it
    Graph graph;
};

// The cases of hostile_delegations.txt.
std::vector<Case> readCases()
{
    std::vector<Case> cases;
    std::istringstream in(readData("hostile_delegations.txt"));
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line.starts_with('#')) continue;
        if (line.starts_with("case ")) {
            Case& c = cases.emplace_back();
            c.name = line.substr(5, line.find(" | ") - 5);
            std::istringstream fields(line.substr(line.find(" | ") + 3));
            std::string bar, ended;
            fields >> c.question >> bar >> c.queries >> bar >> ended;
            c.workLimitLine = ended == "limit";
        } else {
            std::istringstream fields(line);
            std::string zone, server, glue;
            fields >> zone >> server >> glue;
            cases.back().graph[zone].emplace_back(server, glue);
        }
    }
    return cases;
}

} // namespace

TEST(ResolutionLimits, HostileDelegationsEndInAServerFailureWithinTheWorkLimit)
{
    const std::vector<Case> cases = readCases();
    ASSERT_EQ(cases.size(), 5u);
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
