// The flood guard against a table of calls: tests/data/scenario/flood_guard_calls.txt.
#include "query/flood_guard.h"
#include "support/call_table.h"
#include "support/temp_folder.h"
#include "wire/addresses.h"

#include <gtest/gtest.h>

#include <memory>

namespace quorvane::test {

namespace {

std::string joined(const std::vector<std::string>& items)
{
    std::string out;
    for (const auto& item : items) out += (out.empty() ? "" : "; ") + item;
    return out;
}

struct Guard {
    std::vector<std::string> lines, blocked;
    FloodGuard guard{[this](const std::string& l) { lines.push_back(l); },
                     [this](const std::string& a) { blocked.push_back(a); }};
};

} // namespace

TEST(FloodGuard, RunsOverTheLimitAreBlockedAndTheListIsKept)
{
    TempFolder folder;
    auto g = std::make_unique<Guard>();
    const auto file = [&](const std::string& name) { return (folder.path() / name).string(); };
    const Calls calls{
        {"Reset", [&](const Args&) { g = std::make_unique<Guard>(); return ""; }},
        {"Configure", [&](const Args& a) {
             std::vector<std::string> exempt;
             if (!a[2].empty()) exempt.push_back(a[2]);
             g->guard.configure(std::stoi(a[0]), a[1] == "yes", exempt);
             return "";
         }},
        {"Send", [&](const Args& a) {
             std::string verdicts;
             double at = std::stod(a[1]);
             for (const char sender : a[0]) {
                 verdicts += g->guard.check(sender == 'A' ? 0x0A000009 : 0x0A000005, at) ? '+' : '-';
                 at += std::stod(a[2]);
             }
             return verdicts;
         }},
        {"Log", [&](const Args&) { return joined(g->lines); }},
        {"Blocked", [&](const Args&) { return joined(g->blocked); }},
        {"List", [&](const Args&) { return joined(g->guard.BlockList()); }},
        {"Write", [&](const Args& a) { folder.write("blocks.dat", a[0]); return ""; }},
        {"Load", [&](const Args& a) { g->guard.LoadBlocks(file(a[0])); return joined(g->guard.BlockList()); }},
        {"IsBlocked", [&](const Args& a) { return yes(g->guard.isBlocked(addressValue(a[0]))); }},
        {"Save", [&](const Args&) { return g->guard.SaveBlocks(file("blocks.dat")) ? folder.read("blocks.dat") : ""; }},
    };
    runCallTable(QUORVANE_SCENARIO_DATA "/flood_guard_calls.txt", calls, 25);
}

} // namespace quorvane::test
