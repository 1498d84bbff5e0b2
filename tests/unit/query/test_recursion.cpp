// Resolution through other servers: forwarders that fail or answer, referrals from the root down,
// sub-requests for name servers without glue, SPOOFSECURE and the cap on waiting requests.
#include "support/golden_questions.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quorvane::test {

using namespace std::chrono_literals;

namespace {

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
    void tickAt(int second) { replayTick(*this, second); }
    DecodedReply reply() const { return decodeReply(host.replies.back().message); }
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
    replay(r, "recursion_silent_forwarders.txt");
    EXPECT_EQ(r.rig.counters.ReplyCount, 1u);
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
    replay(r, "recursion_forwarded.txt");
}

TEST(Recursion, AnAliasInOurZoneIsFollowedOutsideIt)
{
    Resolver r(forwarding({"127.0.0.2"}));
    r.addZone("home.lan.", "@ IN SOA ns.home.lan. admin.home.lan. 1 3600 600 86400 300\n"
                           "mail IN CNAME mail.provider.example.\n");
    replay(r, "recursion_alias.txt");
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
        replay(r, general ? "forward_rules_forwarding.txt" : "forward_rules_root.txt");
    }

    // A silent rule server is given up on like a forwarder, and the general one is never asked.
    QuerySettings settings = forwarding({"127.0.0.2"});
    settings.forwardRules = rules;
    Resolver r(settings);
    r.clock.set(fromCalendar({2026, 11, 22, 10, 0, 0}) + 0.5 / kSecondsPerDay);
    replay(r, "recursion_silent_rule.txt");
}

TEST(Recursion, ResolvesFromTheRootThroughReferralsAndGluelessServers)
{
    Resolver r({}, kRootHints);
    replay(r, "recursion_root.txt");
}

TEST(Recursion, SpoofSecureKeepsOnlyRecordsOfTheAskedServersZone)
{
    QuerySettings settings;
    settings.spoofSecure = true;
    Resolver r(settings, kRootHints);
    replay(r, "recursion_spoof_secure.txt");
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

    // Beyond the cap a question that would have to wait gets a server failure at once, local data
    // never; the refusals are logged once, on the next tick, with their count.
    replay(r, "recursion_waiting_capped.txt");
    EXPECT_EQ(r.dns.resolver().PendingRequests.size(), kMaxPending);
    EXPECT_EQ(r.rig.counters.ReplyCount, 2u);
    r.host.lines.clear();
    r.tickAt(2);
    EXPECT_TRUE(r.host.lines.empty()) << "the count is logged once";
}

TEST(Recursion, AnsweredRequestsStopCountingAgainstTheCapAtOnce)
{
    const auto askAndAnswer = [](Resolver& r, const std::string& name) {
        r.ask(name);
        const Bytes answer = makeAnswer(r.rig.queries().back().message, 0, false, {wireA(2, name, "192.0.2.1")});
        r.dns.ProcAns({0x7F000002, 53}, answer);
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
