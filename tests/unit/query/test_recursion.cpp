// Resolution through other servers: forwarders that fail or answer, referrals from the root down,
// sub-requests for name servers without glue, SPOOFSECURE and the cap on waiting requests.
#include "support/call_table.h"
#include "support/golden_questions.h"
#include "wire/addresses.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

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

    // Replays a script of the data folder. Its blocks: a step ("ask NAME TYPE", "answer FROM RCODE [aa]",
    // "tick SECOND" or "wait SECONDS"), the records of an answer ("+ SECTION NAME TYPE DATA TTL"; a SOA's data is its
    // minimum), then all the step gives: the replies to the client, log lines and queries sent.
    void replay(const std::string& name)
    {
        std::istringstream in(readData(name) + "\n");
        std::string out, step;
        std::vector<WireRecord> records;
        for (std::string line; std::getline(in, line);) {
            if (line.starts_with('#') || line.starts_with("+ ") || (step.empty() && !line.empty())) out += line + '\n';
            if (line.starts_with("+ ")) {
                records.push_back(record(line.substr(2)));
            } else if (line.empty()) {
                if (!step.empty()) out += outcome(step, records) + '\n';
                step.clear();
                records.clear();
            } else if (step.empty() && !line.starts_with('#')) {
                step = line;
            }
        }
        expectGoldenFile(QUORVANE_SCENARIO_DATA "/" + name, out);
    }
    static WireRecord record(const std::string& text)
    {
        std::istringstream words(text);
        int section;
        std::string owner, type, data;
        uint32_t ttl;
        words >> section >> owner >> type >> data >> ttl;
        if (type == "A") return wireA(section, owner, data, ttl);
        if (type == "SOA") return wireSoa(owner, ttl, static_cast<uint32_t>(std::stoul(data)), 1, section);
        return wireName(section, owner, typeCode(type), data, ttl);
    }
    std::string outcome(const std::string& step, const std::vector<WireRecord>& records)
    {
        const size_t replied = host.replies.size(), sent = rig.queries().size();
        host.lines.clear();
        std::istringstream words(step);
        std::string verb, first, second, third;
        words >> verb >> first >> second >> third;
        if (verb == "ask") ask(first, typeCode(second));
        else if (verb == "answer") answer(first, std::stoi(second), third == "aa", records);
        else if (verb == "tick") tickAt(std::stoi(first));
        else clock.advance(std::chrono::seconds(std::stoi(first)));
        std::ostringstream out;
        for (size_t i = replied; i < host.replies.size(); ++i) {
            const DecodedReply r = decodeReply(host.replies[i].message);
            out << "reply " << r.qname << " rcode " << r.rcode << (r.aa ? " aa" : "") << (r.ra ? " ra" : "") << '\n';
            for (const auto& rec : r.records)
                out << rec.section << ' ' << rec.name << ' ' << RTypeN(rec.type) << ' ' << rec.data << " ttl " << rec.ttl
                    << '\n';
        }
        for (const auto& line : host.lines) out << "log " << line << '\n';
        const Lines all = queries();
        for (size_t i = sent; i < all.size(); ++i) out << "sent " << all[i] << '\n';
        return out.str();
    }
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
    r.replay("recursion_silent_forwarders.txt");
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
    r.replay("recursion_forwarded.txt");
}

TEST(Recursion, AnAliasInOurZoneIsFollowedOutsideIt)
{
    Resolver r(forwarding({"127.0.0.2"}));
    r.addZone("home.lan.", "@ IN SOA ns.home.lan. admin.home.lan. 1 3600 600 86400 300\n"
                           "mail IN CNAME mail.provider.example.\n");
    r.replay("recursion_alias.txt");
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
    r.replay("recursion_silent_rule.txt");
}

TEST(Recursion, ResolvesFromTheRootThroughReferralsAndGluelessServers)
{
    Resolver r({}, kRootHints);
    r.replay("recursion_root.txt");
}

TEST(Recursion, SpoofSecureKeepsOnlyRecordsOfTheAskedServersZone)
{
    QuerySettings settings;
    settings.spoofSecure = true;
    Resolver r(settings, kRootHints);
    r.replay("recursion_spoof_secure.txt");
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
    r.replay("recursion_waiting_capped.txt");
    EXPECT_EQ(r.dns.resolver().PendingRequests.size(), kMaxPending);
    EXPECT_EQ(r.rig.counters.ReplyCount, 2u);
    EXPECT_TRUE(r.host.dailyLogs.empty()); // no server was asked, so none failed
    r.host.lines.clear();
    r.tickAt(2);
    EXPECT_TRUE(r.host.lines.empty()) << "the count is logged once";
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
