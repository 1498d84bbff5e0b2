// Resolution through other servers: forwarders that fail or answer, referrals from the root down,
// sub-requests for name servers without glue, SPOOFSECURE and the cap on waiting requests.
#include "support/golden_questions.h"
#include "wire/addresses.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quorvane::test {

using namespace std::chrono_literals;

namespace {

uint32_t ip(const std::string& text)
{
    uint32_t value = 0;
    for (const char byte : IPToData(text)) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

struct Resolver : DnsFixture {
    explicit Resolver(QuerySettings settings, const std::string& rootHints = "")
        : DnsFixture(fromCalendar({2026, 11, 22, 10, 0, 0}))
    {
        folder.write("named.root", rootHints);
        store.LoadPerm();
        settings.localAddresses = {"192.168.1.10"};
        dns.configure(std::move(settings));
        host.lines.clear();
    }
    void addZone(const std::string& name, const std::string& text) { load("data/" + name + "dns", text); }
    void ask(const std::string& name, uint16_t type = 1) { dns.ProcReq(kClient, makeQuery(7, name, type, true)); }
    // The timer's work on the tick at the given whole second after the start.
    void tickAt(int second)
    {
        clock.set(fromCalendar({2026, 11, 22, 10, 0, second}));
        dns.removeFinished();
        dns.retryWaiting();
    }
    // "address (id) NAME TYPE RD" of each query sent to another server.
    Lines queries() const
    {
        Lines out;
        for (const auto& q : rig.queries()) {
            const auto d = decodeReply(q.message);
            out.push_back(addressText(q.to.address) + ' ' + d.qname + ' ' + std::to_string(d.qtype) +
                          (d.rd ? " rd" : ""));
        }
        return out;
    }
    // The server at that address answers the last query sent to it.
    void answer(const std::string& from, int rcode, bool aa, const std::vector<WireRecord>& records)
    {
        const auto q = rig.queries().back();
        ASSERT_EQ(addressText(q.to.address), from);
        ASSERT_EQ(q.to.port, 53);
        dns.ProcAns({ip(from), 53}, makeAnswer(q.message, rcode, aa, records));
    }
    DecodedReply reply() const { return host.replies.empty() ? DecodedReply{} : decodeReply(host.replies.back().message); }
};

QuerySettings forwarding(std::vector<std::string> forwarders)
{
    QuerySettings s;
    s.forwarding = true;
    s.forwarders = std::move(forwarders);
    return s;
}

const std::string kRootHints = ".  3600000 IN NS a.root.\n"
                               "a.root. 3600000 IN A 127.0.0.2\n";

} // namespace

TEST(Recursion, SilentForwardersAreTriedInTurnThenTheClientGetsAServerFailure)
{
    Resolver r(forwarding({"127.0.0.2", "127.0.0.3"}));
    r.clock.set(fromCalendar({2026, 11, 22, 10, 0, 0}) + 0.5 / kSecondsPerDay);
    r.ask("www.example.org.");
    std::vector<std::pair<int, std::string>> sent{{0, "127.0.0.2"}};
    for (int second = 1; second <= 14; ++second) {
        const size_t before = r.rig.queries().size();
        r.tickAt(second);
        for (size_t i = before; i < r.rig.queries().size(); ++i)
            sent.emplace_back(second, addressText(r.rig.queries()[i].to.address));
    }
    // One-second waits while both are listed, alternating; each drops out after its fifth query,
    // and the last one left waits two seconds.
    const std::vector<std::pair<int, std::string>> expected{
        {0, "127.0.0.2"}, {2, "127.0.0.3"}, {3, "127.0.0.2"}, {4, "127.0.0.3"}, {5, "127.0.0.2"},
        {6, "127.0.0.3"}, {7, "127.0.0.2"}, {8, "127.0.0.3"}, {9, "127.0.0.2"}, {10, "127.0.0.3"}};
    EXPECT_EQ(sent, expected);
    EXPECT_EQ(r.queries().front(), "127.0.0.2 www.example.org. 1 rd"); // forwarders are asked to recurse

    ASSERT_EQ(r.host.replies.size(), 1u);
    EXPECT_EQ(r.reply().rcode, 2);
    EXPECT_TRUE(r.reply().ra);
    EXPECT_EQ(r.rig.counters.ReplyCount, 1u);
    EXPECT_EQ(r.host.dailyLogs, Lines{"fail.log: 10:00:12   DNS Request from 10.0.0.5 about A-record for "
                                      "www.example.org.:\r\n10:00:12   -> Authoritative DNS servers did not "
                                      "respond - or did not return any records.\r\n"});
    r.tickAt(15);
    EXPECT_TRUE(r.dns.resolver().PendingRequests.empty());

    // The server never asks itself: no forwarder left means a server failure at once.
    Resolver self(forwarding({"127.0.0.1", "192.168.1.10", "0.0.0.0"}));
    self.ask("www.example.org.");
    EXPECT_TRUE(self.rig.queries().empty());
    EXPECT_EQ(self.reply().rcode, 2);
}

TEST(Recursion, ForwardedAnswersAreCachedAndServeTheNextQuestion)
{
    Resolver r(forwarding({"127.0.0.2", "127.0.0.3"}));
    r.ask("www.example.org.");
    // A server failure from the first forwarder sends the question on to the second at once.
    r.answer("127.0.0.2", 2, false, {});
    EXPECT_EQ(r.queries(), (Lines{"127.0.0.2 www.example.org. 1 rd", "127.0.0.3 www.example.org. 1 rd"}));
    r.answer("127.0.0.3", 0, false,
             {wireName(2, "www.example.org.", 5, "web.example.org.", 300), wireA(2, "web.example.org.", "192.0.2.8", 300)});
    auto reply = r.reply();
    EXPECT_EQ(reply.rcode, 0);
    EXPECT_FALSE(reply.aa);
    EXPECT_EQ(reply.section(2), (Lines{"www.example.org. CNAME web.example.org.", "web.example.org. A 192.0.2.8"}));
    EXPECT_EQ(reply.records[1].ttl, 300);

    // Asked again a minute later: from the cache, with the TTL counted down, and nothing sent.
    r.clock.advance(60s);
    r.ask("www.example.org.");
    EXPECT_EQ(r.rig.queries().size(), 2u);
    EXPECT_EQ(r.reply().records[1].ttl, 240);

    // A name error is kept for the SOA's minimum and answered from the cache.
    r.ask("gone.example.org.");
    r.answer("127.0.0.2", 3, true, {wireSoa("example.org.", 3600, 900)});
    EXPECT_EQ(r.reply().rcode, 3);
    r.clock.advance(800s);
    r.ask("gone.example.org.");
    EXPECT_EQ(r.rig.queries().size(), 3u);
    EXPECT_EQ(r.reply().rcode, 3);

    // No records of the type: kept likewise, with an empty answer.
    r.ask("www.example.org.", 15);
    r.answer("127.0.0.2", 0, true, {wireSoa("example.org.", 60, 900)});
    r.ask("www.example.org.", 15);
    EXPECT_EQ(r.rig.queries().size(), 4u);
    EXPECT_EQ(r.reply().rcode, 0);
    EXPECT_TRUE(r.reply().section(2).empty());
}

TEST(Recursion, AnAliasInOurZoneIsFollowedOutsideIt)
{
    Resolver r(forwarding({"127.0.0.2"}));
    r.addZone("home.lan.", "@ IN SOA ns.home.lan. admin.home.lan. 1 3600 600 86400 300\n"
                           "mail IN CNAME mail.provider.example.\n");
    r.ask("mail.home.lan.");
    EXPECT_EQ(r.queries(), Lines{"127.0.0.2 mail.provider.example. 1 rd"});
    r.answer("127.0.0.2", 0, false, {wireA(2, "mail.provider.example.", "192.0.2.25")});
    EXPECT_EQ(r.reply().section(2), (Lines{"mail.home.lan. CNAME mail.provider.example.",
                                           "mail.provider.example. A 192.0.2.25"}));
    EXPECT_TRUE(r.reply().aa);
}

TEST(Recursion, ForwardRulesSendTheirDomainsToTheirOwnServers)
{
    const std::vector<ForwardRule> rules{
        {"corp.test", {"127.0.0.4"}}, {"lab.corp.test", {"127.0.0.5"}}, {"10.in-addr.arpa", {"127.0.0.6"}}};
    // With general forwarding or from the root: each name, and the one query it sends.
    for (const bool general : {true, false}) {
        QuerySettings settings = general ? forwarding({"127.0.0.2"}) : QuerySettings{};
        settings.forwardRules = rules;
        Resolver r(settings, kRootHints);
        checkGolden(r, general ? "forward_rules_forwarding.txt" : "forward_rules_root.txt");
    }

    // A silent rule server is given up on like a forwarder, and the general one is never asked.
    QuerySettings settings = forwarding({"127.0.0.2"});
    settings.forwardRules = rules;
    Resolver r(settings);
    r.clock.set(fromCalendar({2026, 11, 22, 10, 0, 0}) + 0.5 / kSecondsPerDay);
    r.ask("mail.corp.test.");
    for (int second = 1; second <= 12; ++second) r.tickAt(second);
    EXPECT_EQ(r.rig.queries().size(), 5u);
    for (const auto& line : r.queries()) EXPECT_TRUE(line.starts_with("127.0.0.4 ")) << line;
    EXPECT_EQ(r.reply().rcode, 2);
}

TEST(Recursion, ResolvesFromTheRootThroughReferralsAndGluelessServers)
{
    Resolver r({}, kRootHints);
    r.ask("www.example.test.");
    // From the root down: a referral with glue, then one whose server has no glue, whose address
    // a sub-request looks up first.
    r.answer("127.0.0.2", 0, false, {wireName(3, "test.", 2, "ns.test."), wireA(4, "ns.test.", "127.0.0.3")});
    r.answer("127.0.0.3", 0, false, {wireName(3, "example.test.", 2, "ns.elsewhere.test.")});
    r.answer("127.0.0.3", 0, true, {wireA(2, "ns.elsewhere.test.", "127.0.0.4")});
    r.answer("127.0.0.4", 0, true,
             {wireName(2, "www.example.test.", 5, "host.example.test."), wireA(2, "host.example.test.", "192.0.2.80")});
    EXPECT_EQ(r.queries(), (Lines{"127.0.0.2 www.example.test. 1", "127.0.0.3 www.example.test. 1",
                                  "127.0.0.3 ns.elsewhere.test. 1", "127.0.0.4 www.example.test. 1"}));
    ASSERT_EQ(r.host.replies.size(), 1u); // the sub-request answered its parent, not a client
    EXPECT_EQ(r.reply().section(2),
              (Lines{"www.example.test. CNAME host.example.test.", "host.example.test. A 192.0.2.80"}));
    EXPECT_NE(std::find(r.host.lines.begin(), r.host.lines.end(),
                        "Sending request to 127.0.0.4 (example.test.) for A-record for www.example.test."),
              r.host.lines.end());

    // The next name of that zone goes straight to its server.
    r.ask("mail.example.test.");
    EXPECT_EQ(r.queries().back(), "127.0.0.4 mail.example.test. 1");

    // A server that answers with nothing of use (no records, no referral) is dropped for the next.
    r.ask("other.test.");
    r.answer("127.0.0.3", 0, false, {});
    EXPECT_EQ(r.reply().rcode, 2); // the zone's only server is gone
}

TEST(Recursion, SpoofSecureKeepsOnlyRecordsOfTheAskedServersZone)
{
    QuerySettings settings;
    settings.spoofSecure = true;
    Resolver r(settings, kRootHints);
    r.ask("www.example.test.");
    r.answer("127.0.0.2", 0, false, {wireName(3, "example.test.", 2, "ns.example.test."), wireA(4, "ns.example.test.", "127.0.0.4")});
    r.answer("127.0.0.4", 0, true,
             {wireA(2, "www.example.test.", "192.0.2.80"), wireA(4, "bank.other.", "6.6.6.6"),
              wireName(3, "other.", 2, "ns.example.test.")});
    EXPECT_NE(std::find(r.host.lines.begin(), r.host.lines.end(), "Reply from 127.0.0.4: Ignored - Not authority!"),
              r.host.lines.end());
    EXPECT_EQ(r.reply().section(2), Lines{"www.example.test. A 192.0.2.80"});
    EXPECT_TRUE(r.store.records("bank.other.").empty());
    EXPECT_TRUE(r.store.records("other.").empty());
}

TEST(Recursion, WaitingRequestsAreCappedAndTheRestRefusedAtOnce)
{
    Resolver r(forwarding({"127.0.0.2"}));
    r.addZone("home.lan.", "@ IN SOA ns.home.lan. admin.home.lan. 1 3600 600 86400 300\nnas IN A 192.168.1.20\n");
    r.host.maxLevel = 0;
    for (size_t i = 0; i < kMaxPending; ++i) r.ask("n" + std::to_string(i) + ".example.org.");
    EXPECT_EQ(r.dns.resolver().PendingRequests.size(), kMaxPending);
    EXPECT_TRUE(r.host.replies.empty());

    // Beyond the cap a question that would have to wait gets a server failure at once.
    r.ask("late1.example.org.");
    r.ask("late2.example.org.", 15);
    ASSERT_EQ(r.host.replies.size(), 2u);
    EXPECT_EQ(r.reply().rcode, 2);
    EXPECT_EQ(r.reply().qname, "late2.example.org.");
    EXPECT_EQ(r.rig.queries().size(), kMaxPending);
    EXPECT_EQ(r.dns.resolver().PendingRequests.size(), kMaxPending);
    EXPECT_EQ(r.rig.counters.ReplyCount, 2u);
    EXPECT_TRUE(r.host.dailyLogs.empty()); // no server was asked, so none failed
    // Local data is never refused.
    r.ask("nas.home.lan.");
    EXPECT_EQ(r.reply().section(2), Lines{"nas.home.lan. A 192.168.1.20"});

    // The refusals are logged once, on the next tick, with their count.
    r.host.lines.clear();
    r.tickAt(1);
    r.tickAt(2);
    EXPECT_EQ(r.host.lines, Lines{kPendingFullText + std::string("2")});
}

TEST(Recursion, AnsweredRequestsStopCountingAgainstTheCapAtOnce)
{
    const auto askAndAnswer = [](Resolver& r, const std::string& name) {
        r.ask(name);
        r.answer("127.0.0.2", 0, false, {wireA(2, name, "192.0.2.1")});
    };
    Resolver r(forwarding({"127.0.0.2"}));
    r.host.maxLevel = -1;
    for (size_t i = 1; i < kMaxPending; ++i) r.ask("w" + std::to_string(i) + ".example.org."); // all wait
    askAndAnswer(r, "answered.example.org.");
    ASSERT_EQ(r.dns.resolver().PendingRequests.size(), kMaxPending); // the answered one waits for the tick
    // Only the others wait, so a new question is still asked and answered.
    askAndAnswer(r, "late.example.org.");
    EXPECT_EQ(r.reply().qname, "late.example.org.");
    EXPECT_EQ(r.reply().rcode, 0);

    // A flood of answered questions within one tick leaves the list small.
    Resolver flood(forwarding({"127.0.0.2"}));
    flood.host.maxLevel = -1;
    size_t longest = 0;
    for (int i = 0; i < 3000; ++i) {
        askAndAnswer(flood, "n" + std::to_string(i) + ".example.org.");
        longest = std::max(longest, flood.dns.resolver().PendingRequests.size());
    }
    EXPECT_LE(longest, kSweepFinished);
}

} // namespace quorvane::test
