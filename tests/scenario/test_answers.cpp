// Answers built from zone files and the cache, checked on the decoded reply.
#include "support/golden_questions.h"

#include <gtest/gtest.h>

namespace quorvane::test {

using namespace std::chrono_literals;

namespace {

const std::string kZone = readData("zone.dns");

struct Server : DnsFixture {
    explicit Server(const std::string& zone = kZone, QuerySettings settings = {})
    {
        folder.write("data/zone.dns", zone);
        store.LoadBoot();
        dns.configure(std::move(settings));
    }
};

} // namespace

// Own data with aliases and additional records, the zone's servers without recursion, missing
// names and types, and an alias asked for as such.
TEST(Answers, OwnZoneQuestionsMatchTheirGoldenReplies)
{
    Server s;
    replay(s, "answers_own_zone.txt");
}

TEST(Answers, AliasChainStopsAfterTwentyFivePasses)
{
    Server s(readData("alias_chain.dns"));
    replay(s, "answers_alias_chain.txt");
    EXPECT_TRUE(s.dns.resolver().PendingRequests.empty());
}

// Markers for names and types the forwarder said do not exist are answered in the recursion tests.
TEST(Answers, CachedRecordsExpireFiveSecondsLateAndAnyLeavesMarkersOut)
{
    Server s;
    s.store.CacheAdd("cached.example.", 1, 10, Bytes("\x0A\x01\x02\x03", 4), 0);
    s.store.CacheAdd("cached.example.", rtype::kMarkerBase + 15, 60, "", 0);

    replay(s, "answers_cached.txt");
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

// The rotation of a name's addresses is in answers_own_zone.txt.
TEST(Answers, SectionsCapAtHundred)
{
    Server big(readData("many_addresses.dns"));
    big.host.maxLevel = -1;
    replay(big, "answers_many_addresses.txt");
}

TEST(Answers, AutoCnameAddsTheTargetToAnAliasQuestion)
{
    Server automatic(kZone, {"<all>", true, {}, false, {}, false});
    replay(automatic, "answers_auto_cname.txt");
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
    replay(s, "answers_local_names.txt");

    // Off, or the IPv6 ranges without AAAA: private names wait for the forwarder like any other.
    settings.aaaa = false;
    EXPECT_FALSE(Server(kZone, settings).ask("0.8.e.f.ip6.arpa.", 12).ok);
    settings.localNames = false;
    EXPECT_FALSE(Server(kZone, settings).ask("5.2.168.192.in-addr.arpa.", 12).ok);
}

} // namespace quorvane::test
