// The five additions for today's clients, each checked with its setting on and off: AAAA records,
// EDNS with truncation, questions over TCP, hardened outgoing queries, and SRV and CAA records.
#include "query/edns.h"
#include "support/golden_questions.h"

#include <gtest/gtest.h>

#include <set>

namespace quorvane::test {


namespace {

std::string bigZone()
{
    std::string zone = readData("flags_zone.dns"); // and two names with many addresses
    for (int i = 1; i <= 40; ++i) zone += "many IN A 10.1.0." + std::to_string(i) + "\n";
    for (int i = 1; i <= 120; ++i) zone += "lots IN A 10.2.0." + std::to_string(i) + "\n";
    return zone;
}

struct Server : DnsFixture {
    explicit Server(QuerySettings settings)
    {
        folder.write("data/zone.dns", bigZone());
        folder.write("hosts", "2001:db8::7 laptop\n10.0.0.7 printer\n");
        StoreSettings stored;
        stored.hostsPath = "hosts";
        stored.aaaa = settings.aaaa;
        stored.moreTypes = settings.moreTypes;
        store.configure(stored);
        store.LoadPerm();
        host.maxLevel = -1;
        rig.outgoing.open(settings.hardening);
        dns.configure(std::move(settings));
    }
};

QuerySettings flags(bool aaaa, bool edns, bool tcp, bool hardening, bool moreTypes = false)
{
    QuerySettings s;
    s.forwarding = true;
    s.forwarders = {"10.9.9.9"};
    s.aaaa = aaaa;
    s.edns = edns;
    s.tcpQueries = tcp;
    s.hardening = hardening;
    s.moreTypes = moreTypes;
    return s;
}

} // namespace

TEST(ProtocolFlags, AaaaSrvAndCaaOnlyWhenSwitchedOn)
{
    Server off(flags(false, false, false, false));
    checkGolden(off, "flags_off.txt");
    EXPECT_TRUE(off.store.records("laptop.").empty()) << "an IPv6 hosts line stays out";
    EXPECT_TRUE(off.store.records("_sip._tcp.zone.").empty()) << "the zone's SRV line is skipped";

    Server aaaa(flags(true, false, false, false));
    checkGolden(aaaa, "flags_aaaa.txt");

    Server moreTypes(flags(false, false, false, false, true));
    moreTypes.host.maxLevel = 1;
    checkGolden(moreTypes, "flags_more_types.txt");
}

TEST(ProtocolFlags, EdnsCutsRepliesToTheClientsSize)
{
    const Bytes plain = makeQuery(1, "many.zone.", 1, true);
    Bytes cutShort = withOpt(plain, 1232);
    cutShort.resize(cutShort.size() - 3);
    const std::string ours = ". ?41? payload 1232 ext 0 version 0";
    struct Case {
        const char* what;
        bool edns;
        Bytes query;
        int rcode;
        size_t cutAt;   // the size the reply is cut to, 0 when not cut
        size_t answers; // when not cut
        std::string opt; // the additional section, "" when empty
    };
    const Case cases[] = {
        {"off: only the record cap, no OPT back", false, withOpt(plain, 4096), 0, 0, 40, ""},
        {"no OPT: 512 bytes", true, plain, 0, 512, 0, ""},
        {"40 records fit in 1232 bytes", true, withOpt(plain, 4096), 0, 0, 40, ours},
        {"the OPT record survives the cut", true, withOpt(plain, 600), 0, 600, 0, ours},
        {"BADVERS", true, withOpt(plain, 1232, 1), 0, 0, 0, ". ?41? payload 1232 ext 1 version 0"},
        {"two OPT records", true, withOpt(withOpt(plain, 1232), 1232), 1, 0, 0, ours},
        {"an OPT record cut short", true, cutShort, 1, 0, 0, ""},
        {"our OPT, not the client's", true, withOpt(makeQuery(9, "many.zone.", 99, true), 4096), 4, 0, 0, ours},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Server s(flags(false, c.edns, false, false));
        const auto r = s.ask(c.query);
        EXPECT_EQ(r.rcode, c.rcode);
        EXPECT_EQ(r.tc, c.cutAt != 0);
        if (c.cutAt) {
            EXPECT_LE(s.last.size(), c.cutAt);
            EXPECT_GT(s.last.size() + 16, c.cutAt) << "cut at the last record that fits, not before";
        } else {
            EXPECT_EQ(r.section(2).size(), c.answers);
        }
        EXPECT_EQ(r.section(4), c.opt.empty() ? Lines{} : Lines{c.opt});
    }

    // Over TCP nothing is cut, OPT or not, and there is no record cap.
    Server tcp(flags(false, true, true, false));
    auto r = tcp.ask(makeQuery(8, "many.zone.", 1, true), kClient, 7);
    EXPECT_FALSE(r.tc);
    EXPECT_EQ(r.section(2).size(), 40u);
    EXPECT_EQ(tcp.host.replies[0].to.port, 7) << "the reply went back on connection 7";
    EXPECT_EQ(tcp.ask(makeQuery(10, "lots.zone.", 1, true), kClient, 7).section(2).size(), 120u);
}

TEST(ProtocolFlags, OutgoingQueriesCarryOptAndFallBack)
{
    Server s(flags(false, true, true, false));
    replay(s, "flags_outgoing_edns.txt");
    ASSERT_EQ(s.rig.network.connects.size(), 1u);
    EXPECT_EQ(s.rig.network.connects.begin()->second, (Endpoint{0x0A090909, 53}));
}

TEST(ProtocolFlags, HardenedQueriesTakeRandomIdentifiersAndStrictAnswers)
{
    Server s(flags(false, false, false, true));
    std::set<int> ids;
    int sequential = 0, previous = -1;
    for (int i = 0; i < 300; ++i) {
        s.ask(makeQuery(1, "n" + std::to_string(i) + ".example.", 1, true));
        const int id = decodeReply(s.rig.network.sent.back().data).id;
        sequential += id == previous + 1;
        previous = id;
        ids.insert(id);
    }
    EXPECT_LT(sequential, 5);
    EXPECT_GT(ids.size(), 290u);

    // An answer from another port or address is ignored; the server asked is believed.
    replay(s, "flags_hardened_answers.txt");
}

} // namespace quorvane::test
