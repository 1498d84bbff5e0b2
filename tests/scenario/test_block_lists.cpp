// Block lists through the engine: loaded by the list loader and swapped in between two questions,
// answered in each mode without asking anyone, local data and the allow list winning, aliases of
// forwarded answers followed, and clients on NOFILTER left alone.
#include "support/call_table.h"
#include "support/engine_fixture.h"

#include <gtest/gtest.h>

namespace quorvane::test {

namespace {

// Builds when the test says so, as a worker thread would finish at some later point.
struct HeldLoader : ListLoader {
    void load(FilterSources sources, bool, FilterReady done) override
    {
        held = [=] { done(buildFilter(sources), {}); };
    }
    std::function<void()> held;
};

const Endpoint kForwarder{0x0A090909, 53};

struct Program : EngineFixture {
    Program()
        : EngineFixture("AAAARecords: yes\nRecursionOut: yes\nNS: 10.9.9.9\nBlockList: lists/ads.txt\n"
                        "AllowList: ok.ads.example\nNoFilter: 10.0.0.9\n")
    {
        std::filesystem::create_directories(folder.path() / "lists");
        folder.write("lists/ads.txt", "0.0.0.0 ads.example\n||tracker.example^\nhost.lan\n/ads/*.js\n");
        folder.write("data/lan.dns", "@ IN SOA ns.lan. admin.lan. 1 1 1 1 1\nhost IN A 10.0.0.1\n");
        make().setListLoader(loader);
        engine->Main();
    }
    ~Program() { engine.reset(); } // before the loader it holds
    // A client's question and all it gives: the reply, or the query to the forwarder, and log lines.
    std::string asked(const std::string& name, uint16_t type = 1, uint32_t client = 0x0A000005)
    {
        network.deliver(network.findOpen(false, 53), {client, 999}, makeQuery(7, name, type, true));
        if (!network.sent.empty()) last = network.sent.back();
        return told("ask " + name + ' ' + std::to_string(type) + " from " + addressText(client));
    }
    void answerMode(const std::string& mode)
    {
        Settings s = engine->settings();
        s.BLOCKANSWER = mode;
        engine->applyOptions(s, {});
    }
    HeldLoader loader;
    FakeNetwork::Sent last; // the last datagram a question made the server send
};

} // namespace

// The lists are not in use until they have been built; then blocked names are answered at once.
TEST(BlockLists, SwappedInWholeAndAnsweredAtOnceInEachMode)
{
    Program p;
    p.told("start");
    std::string transcript = p.asked("x.ads.example.");
    ASSERT_TRUE(p.loader.held);
    p.loader.held();
    transcript += p.told("lists built") + p.asked("X.Ads.Example.") + p.asked("ads.example.", 28);
    transcript += p.asked("ads.example.", 16);
    p.answerMode("NXDOMAIN");
    transcript += p.asked("tracker.example.");
    p.answerMode("REFUSED");
    expectGoldenFile(QUORVANE_SCENARIO_DATA "/block_lists_modes.txt", transcript + p.asked("a.b.tracker.example."));
    EXPECT_EQ(p.engine->counters().BlockedCount, 5u);
    p.engine->execute(Command::WriteSupportFile);
    const std::string lists = "Blocked : 5\nBlock list lists/ads.txt: 3 names (1 lines skipped), read ";
    EXPECT_NE(p.folder.read("support.txt").find(lists), std::string::npos);
}

// Own zones, the allow list and clients on NOFILTER before the lists; a forwarded answer whose
// alias leads to a blocked name; and without a BlockList line nothing is filtered any more.
TEST(BlockLists, LocalDataAllowListAndExemptClientsWinAliasesAreFollowed)
{
    Program p;
    p.loader.held();
    p.told("start");
    std::string transcript = p.asked("host.lan.") + p.asked("ok.ads.example.") + p.asked("ads.example.", 1, 0x0A000009);
    transcript += p.asked("cdn.site.example.");
    p.network.deliver(p.last.socket, kForwarder,
                      makeAnswer(p.last.data, 0, false,
                                 {wireName(2, "cdn.site.example.", 5, "t.tracker.example."),
                                  wireA(2, "t.tracker.example.", "10.7.7.7")}));
    transcript += p.told("the forwarder's answer to cdn.site.example.");

    Settings s = p.engine->settings();
    s.BLOCKLIST.clear();
    p.engine->applyOptions(s, {});
    p.loader.held();
    p.told("without lists");
    expectGoldenFile(QUORVANE_SCENARIO_DATA "/block_lists_local.txt", transcript + p.asked("ads.example."));
}

} // namespace quorvane::test
