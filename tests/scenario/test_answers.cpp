// Answers built from zone files and the cache, checked on the decoded reply.
#include "support/dns_fixture.h"

#include <gtest/gtest.h>

namespace quorvane::test {

using namespace std::chrono_literals;

namespace {

const std::string kZone = "@ IN SOA ns.zone. admin.zone. 7 3600 600 86400 300\n"
                          "@ IN NS ns.zone.\n"
                          "@ IN MX 10 mail.zone.\n"
                          "ns IN A 10.0.0.1\n"
                          "mail IN A 10.0.0.25\n"
                          "www IN CNAME host.zone.\n"
                          "host IN A 10.0.0.80\n"
                          "pool IN A 10.0.1.1\n"
                          "pool IN A 10.0.1.2\n"
                          "pool IN A 10.0.1.3\n"
                          "text IN TXT \"hello world\"\n";

struct Server : DnsFixture {
    explicit Server(const std::string& zone = kZone, QuerySettings settings = {})
    {
        folder.write("data/zone.dns", zone);
        store.LoadBoot();
        dns.configure(std::move(settings));
    }
};

} // namespace

TEST(Answers, AuthoritativeDataAliasesAndAdditionalRecords)
{
    Server s;
    auto r = s.ask("MAIL.Zone.", 1);
    EXPECT_TRUE(r.qr && r.aa && r.rd && r.ra);
    EXPECT_EQ(r.id, 42);
    EXPECT_EQ(r.qname, "mail.zone.");
    EXPECT_EQ(r.section(2), Lines{"mail.zone. A 10.0.0.25"});
    EXPECT_EQ(r.records[0].ttl, 86400);

    r = s.ask("zone.", 15);
    EXPECT_EQ(r.section(2), Lines{"zone. MX 10 mail.zone."});
    EXPECT_EQ(r.section(4), Lines{"mail.zone. A 10.0.0.25"});
    EXPECT_EQ(s.host.lines.back(), "-> Additional: A-record for mail.zone. = 10.0.0.25");

    r = s.ask("www.zone.", 1);
    EXPECT_EQ(r.section(2), (Lines{"www.zone. CNAME host.zone.", "host.zone. A 10.0.0.80"}));

    // Without recursion the zone's name servers and their addresses come along.
    r = s.ask("host.zone.", 1, false);
    EXPECT_FALSE(r.rd);
    EXPECT_TRUE(r.ra); // recursion is on offer even when not asked for
    EXPECT_EQ(r.section(3), Lines{"zone. NS ns.zone."});
    EXPECT_EQ(r.section(4), Lines{"ns.zone. A 10.0.0.1"});
}

TEST(Answers, MissingNamesAndTypesInOwnZone)
{
    Server s;
    auto r = s.ask("nope.zone.", 1);
    EXPECT_EQ(r.rcode, 3);
    EXPECT_TRUE(r.aa);
    EXPECT_EQ(r.section(3), Lines{"zone. SOA ns.zone. admin.zone. 7"});

    s.host.lines.clear();
    r = s.ask("host.zone.", 15); // the name exists, the type does not
    EXPECT_EQ(r.rcode, 0);
    EXPECT_TRUE(r.section(2).empty());
    EXPECT_EQ(r.section(3), Lines{"zone. SOA ns.zone. admin.zone. 7"});
    EXPECT_EQ(s.host.lines, (Lines{"Request from 10.0.0.5 for MX-record for host.zone.",
                                   "Sending reply to 10.0.0.5 about MX-record for host.zone.:",
                                   "-> Answer: There are no MX-Records for host.zone.",
                                   "-> Authority: SOA-record for zone. = ns.zone. (Serial 7)"}));
}

TEST(Answers, AliasChainStopsAfterTwentyFivePasses)
{
    std::string zone = "@ IN SOA ns.zone. admin.zone. 1 1 1 1 1\n";
    for (int i = 1; i <= 26; ++i) zone += "c" + std::to_string(i) + " IN CNAME c" + std::to_string(i + 1) + "\n";
    zone += "c27 IN A 10.9.9.9\n";
    Server s(zone);
    EXPECT_EQ(s.ask("c3.zone.", 1).section(2).size(), 25u); // 24 aliases and the address: 25 passes
    s.host.replies.clear();
    s.dns.ProcReq({0x0A000005, 1234}, makeQuery(1, "c2.zone.", 1, true));
    EXPECT_TRUE(s.host.replies.empty()); // the 26th pass gives up without a reply
    EXPECT_TRUE(s.dns.resolver().PendingRequests.empty());
}

// Markers for names and types the forwarder said do not exist are answered in the recursion tests.
TEST(Answers, CachedRecordsExpireFiveSecondsLateAndAnyLeavesMarkersOut)
{
    Server s;
    s.store.CacheAdd("cached.example.", 1, 10, Bytes("\x0A\x01\x02\x03", 4), 0);
    s.store.CacheAdd("cached.example.", rtype::kMarkerBase + 15, 60, "", 0);

    s.clock.advance(13s); // expired 3 seconds ago: still served, with TTL 0
    auto r = s.ask("cached.example.", 1);
    ASSERT_EQ(r.section(2), Lines{"cached.example. A 10.1.2.3"});
    EXPECT_EQ(r.records[0].ttl, 0);
    EXPECT_FALSE(r.aa);

    EXPECT_EQ(s.ask("cached.example.", 255).section(2), Lines{"cached.example. A 10.1.2.3"});

    s.clock.advance(3s); // 6 seconds past expiry: gone, and nobody else to ask
    r = s.ask("cached.example.", 1);
    EXPECT_EQ(r.rcode, 2);
    EXPECT_EQ(s.host.dailyLogs.size(), 1u); // the fail.log entry, as for silent forwarders
}

TEST(Answers, RecursionOfferedByPattern)
{
    struct Case {
        const char* rule;
        uint32_t client;
        bool ra;
    };
    const Case cases[] = {
        {"10.1.*", 0x0A010203, true},  {"10.1.*", 0x0A0A0001, false}, {"10.1.*", 0x7F000001, true},
        {"<none>", 0x0A010203, false}, {"<none>", 0xC0A8010A, true}, // one of the machine's own addresses
        {"<all>", 0x01020304, true},
    };
    for (const auto& c : cases) {
        Server s(kZone, {c.rule, false, {"192.168.1.10"}, false, {}, false});
        const auto r = s.ask("outside.example.", 1, true, {c.client, 1234});
        EXPECT_EQ(r.ra, c.ra) << c.rule << ' ' << c.client;
        EXPECT_EQ(r.rcode, c.ra ? 2 : 0) << c.rule; // no server is known to ask: a server failure
    }
}

TEST(Answers, SectionsCapAtHundredAndRotate)
{
    std::string zone = "@ IN SOA ns.zone. admin.zone. 1 1 1 1 1\n";
    for (int i = 0; i < 150; ++i) zone += "many IN A 10.0." + std::to_string(i / 256) + "." + std::to_string(i % 256) + "\n";
    Server big(zone);
    auto r = big.ask("many.zone.", 1);
    EXPECT_EQ(r.counts[1], 100);
    EXPECT_EQ(r.section(2).size(), 100u);

    Server s;
    std::vector<std::string> firsts;
    for (int i = 0; i < 4; ++i) firsts.push_back(s.ask("pool.zone.", 1).section(2).at(0));
    EXPECT_EQ(firsts, (Lines{"pool.zone. A 10.0.1.1", "pool.zone. A 10.0.1.2", "pool.zone. A 10.0.1.3",
                             "pool.zone. A 10.0.1.1"}));
    EXPECT_EQ(s.ask("pool.zone.", 1).section(2).size(), 3u);
}

TEST(Answers, AutoCnameAddsTheTargetToAnAliasQuestion)
{
    Server plain;
    EXPECT_EQ(plain.ask("www.zone.", 5).section(2), Lines{"www.zone. CNAME host.zone."});
    Server automatic(kZone, {"<all>", true, {}, false, {}, false});
    EXPECT_EQ(automatic.ask("www.zone.", 5).section(2), (Lines{"www.zone. CNAME host.zone.", "host.zone. A 10.0.0.80"}));
    EXPECT_EQ(automatic.ask("text.zone.", 16).section(2), Lines{"text.zone. TXT \x0bhello world"});
}

TEST(Answers, LocalNamesAnswerPrivateAndOneLabelNamesAtHome)
{
    QuerySettings settings;
    settings.forwarding = settings.localNames = settings.aaaa = true;
    settings.forwarders = {"127.0.0.2"};
    settings.forwardRules = {{"16.172.in-addr.arpa", {"127.0.0.3"}}};
    settings.serverDomain = "zone";
    Server s(kZone, settings);
    s.folder.write("data/1.168.192.in-addr.arpa.dns", "@ IN SOA ns.zone. admin.zone. 3 3600 600 86400 300\n"
                                                      "10 IN PTR host.zone.\n");
    s.store.LoadBoot();
    // The reply in short: the rcode, the answer, and the owner of each authority record; or where
    // the question went.
    const auto outcome = [&](const std::string& name, uint16_t type) {
        const size_t sent = s.rig.queries().size();
        const auto r = s.ask(name, type);
        if (s.rig.queries().size() > sent) return "sent to " + addressText(s.rig.queries().back().to.address);
        std::string out = std::to_string(r.rcode);
        for (const auto& line : r.section(2)) out += ", " + line;
        for (const auto& line : r.section(3)) out += " | " + line.substr(0, line.find(' '));
        return out;
    };
    const std::tuple<const char*, uint16_t, const char*> cases[] = {
        {"10.1.168.192.in-addr.arpa.", 12, "0, 10.1.168.192.in-addr.arpa. PTR host.zone."}, // own zone
        {"5.2.168.192.in-addr.arpa.", 12, "3 | 168.192.in-addr.arpa."},
        {"168.192.in-addr.arpa.", 6, "0, 168.192.in-addr.arpa. SOA 168.192.in-addr.arpa. nobody.invalid. 1"},
        {"168.192.in-addr.arpa.", 2, "0 | 168.192.in-addr.arpa."},
        {"1.0.0.10.in-addr.arpa.", 12, "3 | 10.in-addr.arpa."},
        {"1.0.31.172.in-addr.arpa.", 12, "3 | 31.172.in-addr.arpa."},
        {"1.0.64.100.in-addr.arpa.", 12, "3 | 64.100.in-addr.arpa."},
        {"1.0.16.172.in-addr.arpa.", 12, "sent to 127.0.0.3"}, // a Forward rule comes first
        {"1.0.32.172.in-addr.arpa.", 12, "sent to 127.0.0.2"}, // public ranges go out
        {"1.0.0.0.0.0.0.0.0.0.0.0.0.0.0.d.f.ip6.arpa.", 12, "3 | d.f.ip6.arpa."},
        {"0.8.e.f.ip6.arpa.", 12, "3 | 8.e.f.ip6.arpa."},
        {"printer.home.arpa.", 1, "3 | home.arpa."},
        {"host.", 1, "0, host. CNAME host.zone., host.zone. A 10.0.0.80"},
        {"printer.", 1, "3, printer. CNAME printer.zone. | zone."},
        {"www.example.org.", 1, "sent to 127.0.0.2"},
    };
    for (const auto& [name, type, expected] : cases) EXPECT_EQ(outcome(name, type), expected) << name;

    // Off, or the IPv6 ranges without AAAA: private names wait for the forwarder like any other.
    settings.aaaa = false;
    EXPECT_FALSE(Server(kZone, settings).ask("0.8.e.f.ip6.arpa.", 12).ok);
    settings.localNames = false;
    EXPECT_FALSE(Server(kZone, settings).ask("5.2.168.192.in-addr.arpa.", 12).ok);
}

} // namespace quorvane::test
