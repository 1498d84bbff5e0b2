#include "query/flood_guard.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

namespace quorvane::test {

namespace {

constexpr uint32_t kA = 0x0A000009; // 10.0.0.9
constexpr uint32_t kB = 0x0A000005; // 10.0.0.5

struct Guard {
    std::vector<std::string> lines;
    std::vector<std::string> blocked;
    FloodGuard guard{[this](const std::string& l) { lines.push_back(l); },
                     [this](const std::string& a) { blocked.push_back(a); }};

    // Sends from each address in turn at the given time of day; returns the verdicts as "+"/"-".
    std::string send(const std::vector<uint32_t>& from, double at, double step = 0.01)
    {
        std::string verdicts;
        for (uint32_t address : from) {
            verdicts += guard.check(address, at) ? '+' : '-';
            at += step;
        }
        return verdicts;
    }
};

} // namespace

TEST(FloodGuard, BlocksTheSixthWithinOneSecond)
{
    Guard g;
    g.guard.configure(5, true, {});
    EXPECT_EQ(g.send({kA, kA, kA, kA, kA, kA, kA}, 100.0), "+++++--");
    EXPECT_EQ(g.lines.front(), "IP address 10.0.0.9 blocked (more than 5 Requests per second)");
    EXPECT_EQ(g.lines.back(), "Request from 10.0.0.9 on Block list. Ignored!");
    EXPECT_EQ(g.blocked, std::vector<std::string>{"10.0.0.9"});
    EXPECT_EQ(g.guard.BlockList(), std::vector<std::string>{"10.0.0.9"});

    g.guard.configure(5, false, {}); // LOGBLOCK off: still ignored, no longer logged
    EXPECT_EQ(g.send({kA}, 500.0), "-");
    EXPECT_EQ(g.lines.size(), 2u);
}

TEST(FloodGuard, RunsRestartOnOtherSenderOrAfterASecond)
{
    Guard g;
    g.guard.configure(5, true, {});
    // Another sender's datagram restarts the run, so A is never blocked.
    EXPECT_EQ(g.send({kA, kA, kA, kB, kA, kA, kA, kA, kA, kB, kA, kA, kA}, 10.0), "+++++++++++++");
    // Slower than the limit: the sixth comes after more than a second and starts a new run.
    EXPECT_EQ(g.send({kA, kA, kA, kA, kA, kA}, 20.0, 0.3), "++++++");
    // Across midnight the elapsed time is negative and counts as within the second.
    Guard night;
    night.guard.configure(2, true, {});
    const std::string beforeMidnight = night.send({kA, kA}, 86399.9, 0.0);
    EXPECT_EQ(beforeMidnight + night.send({kA}, 0.2), "++-");
}

TEST(FloodGuard, ExemptAddressesAndSwitchedOff)
{
    Guard g;
    g.guard.configure(2, true, {"010.0.0.9"});
    EXPECT_EQ(g.send(std::vector<uint32_t>(50, kA), 5.0, 0.001), std::string(50, '+'));
    g.guard.configure(0, true, {});
    EXPECT_EQ(g.send(std::vector<uint32_t>(50, kB), 5.0, 0.001), std::string(50, '+'));
    EXPECT_TRUE(g.blocked.empty());
}

TEST(FloodGuard, BlocksFileRoundTrip)
{
    TempFolder folder;
    folder.write("blocks.dat", "; Quorvane - IP address blocks\r\n  10.0.0.1\r\n010.000.000.002\n  ; note\n10.0.0.1\n");
    Guard g;
    g.guard.LoadBlocks(folder.path() / "blocks.dat");
    EXPECT_EQ(g.guard.BlockList(), (std::vector<std::string>{"10.0.0.1", "10.0.0.2"}));
    EXPECT_TRUE(g.guard.isBlocked(0x0A000002));
    ASSERT_TRUE(g.guard.SaveBlocks(folder.path() / "blocks.dat"));
    EXPECT_EQ(folder.read("blocks.dat"), "; Quorvane - IP address blocks\r\n10.0.0.1\r\n10.0.0.2\r\n");

    Guard missing;
    missing.guard.LoadBlocks(folder.path() / "none.dat");
    EXPECT_TRUE(missing.guard.BlockList().empty());
}

} // namespace quorvane::test
