// Block lists through the engine: loaded by the list loader and swapped in between two questions,
// answered in each mode without asking anyone, local data and the allow list winning, aliases of
// forwarded answers followed, and clients on NOFILTER left alone.
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
    // The reply to one question; forwarded tells whether a query went to the forwarder instead.
    DecodedReply ask(const std::string& name, uint16_t type = 1, uint32_t client = 0x0A000005)
    {
        const DecodedReply reply = EngineFixture::ask(makeQuery(7, name, type, true), {client, 999});
        forwarded = std::any_of(network.sent.begin(), network.sent.end(), [](const auto& s) { return s.to == kForwarder; });
        return forwarded ? DecodedReply{} : reply;
    }
    void answerMode(const std::string& mode)
    {
        Settings s = engine->settings();
        s.BLOCKANSWER = mode;
        engine->applyOptions(s, {});
    }
    HeldLoader loader;
    bool forwarded = false;
};

} // namespace

TEST(BlockLists, SwappedInWholeAndAnsweredAtOnceInEachMode)
{
    Program p;
    p.ask("x.ads.example.");
    EXPECT_TRUE(p.forwarded) << "the lists are not in use until they have been built";
    ASSERT_TRUE(p.loader.held);
    p.loader.held();
    EXPECT_TRUE(p.logged("Block list lists/ads.txt: 3 names (1 lines skipped)"));

    DecodedReply r = p.ask("X.Ads.Example.");
    EXPECT_FALSE(p.forwarded);
    EXPECT_EQ(r.section(2), Lines{"x.ads.example. A 0.0.0.0"});
    EXPECT_EQ(r.records.at(0).ttl, 60);
    EXPECT_TRUE(p.logged("-> Blocked by list: ads.example"));
    EXPECT_EQ(p.ask("ads.example.", 28).section(2), Lines{"ads.example. AAAA ::"});
    r = p.ask("ads.example.", 16);
    EXPECT_TRUE(r.ok && r.rcode == 0 && r.records.empty());

    p.answerMode("NXDOMAIN");
    EXPECT_EQ(p.ask("tracker.example.").rcode, 3);
    p.answerMode("REFUSED");
    EXPECT_EQ(p.ask("a.b.tracker.example.").rcode, 5);
    EXPECT_FALSE(p.forwarded);
    EXPECT_EQ(p.engine->counters().BlockedCount, 5u);
    p.engine->execute(Command::WriteSupportFile);
    EXPECT_NE(p.folder.read("support.txt").find("Blocked : 5\nBlock list lists/ads.txt: 3 names (1 lines skipped), read "),
              std::string::npos);
}

TEST(BlockLists, LocalDataAllowListAndExemptClientsWinAliasesAreFollowed)
{
    Program p;
    p.loader.held();
    EXPECT_EQ(p.ask("host.lan.").section(2), Lines{"host.lan. A 10.0.0.1"}) << "own zones before lists";
    p.ask("ok.ads.example.");
    EXPECT_TRUE(p.forwarded) << "on the allow list";
    p.ask("ads.example.", 1, 0x0A000009);
    EXPECT_TRUE(p.forwarded) << "a client on NOFILTER";

    // A forwarded answer whose alias leads to a blocked name.
    p.ask("cdn.site.example.");
    ASSERT_TRUE(p.forwarded);
    const auto query = p.network.sent.back();
    p.network.sent.clear();
    p.network.deliver(query.socket, kForwarder,
                      makeAnswer(query.data, 0, false,
                                 {wireName(2, "cdn.site.example.", 5, "t.tracker.example."),
                                  wireA(2, "t.tracker.example.", "10.7.7.7")}));
    ASSERT_EQ(p.network.sent.size(), 1u);
    EXPECT_EQ(decodeReply(p.network.sent[0].data).section(2), Lines{"cdn.site.example. A 0.0.0.0"});
    EXPECT_TRUE(p.logged("-> Blocked by list: tracker.example"));

    // Without a BlockList line nothing is filtered any more.
    Settings s = p.engine->settings();
    s.BLOCKLIST.clear();
    p.engine->applyOptions(s, {});
    p.loader.held();
    p.ask("ads.example.");
    EXPECT_TRUE(p.forwarded);
}

} // namespace quorvane::test
