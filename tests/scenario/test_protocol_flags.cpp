// The five additions for today's clients, each checked with its setting on and off: AAAA records,
// EDNS with truncation, questions over TCP, hardened outgoing queries, and SRV and CAA records.
#include "query/edns.h"
#include "support/call_table.h"
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
    replay(off, "flags_off.txt");
    EXPECT_TRUE(off.store.records("laptop.").empty()) << "an IPv6 hosts line stays out";
    EXPECT_TRUE(off.store.records("_sip._tcp.zone.").empty()) << "the zone's SRV line is skipped";

    Server aaaa(flags(true, false, false, false));
    replay(aaaa, "flags_aaaa.txt");

    Server moreTypes(flags(false, false, false, false, true));
    moreTypes.host.maxLevel = 1;
    replay(moreTypes, "flags_more_types.txt");
}

TEST(ProtocolFlags, EdnsCutsRepliesToTheClientsSize)
{
    const Bytes plain = makeQuery(1, "many.zone.", 1, true);
    Bytes cutShort = withOpt(plain, 1232);
    cutShort.resize(cutShort.size() - 3);
    // With EDNS on unless the case says off: the reply, with its size when sent.
    const std::pair<std::string, Bytes> cases[] = {
        {"off: only the record cap, no OPT back", withOpt(plain, 4096)},
        {"no OPT: cut to 512 bytes", plain},
        {"40 records fit in 1232 bytes", withOpt(plain, 4096)},
        {"the OPT record survives the cut to 600 bytes", withOpt(plain, 600)},
        {"BADVERS", withOpt(plain, 1232, 1)},
        {"two OPT records", withOpt(withOpt(plain, 1232), 1232)},
        {"an OPT record cut short", cutShort},
        {"our OPT, not the client's", withOpt(makeQuery(9, "many.zone.", 99, true), 4096)},
    };
    std::string transcript;
    for (const auto& [what, query] : cases) {
        Server s(flags(false, !what.starts_with("off"), false, false));
        const std::string reply = replyText(s.ask(query));
        transcript += "== " + what + ": " + std::to_string(s.last.size()) + " bytes\n" + reply;
    }
    expectGoldenFile(QUORVANE_SCENARIO_DATA "/flags_edns_replies.txt", transcript);

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
