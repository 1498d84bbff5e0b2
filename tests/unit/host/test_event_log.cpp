#include "host/event_log.h"
#include "net/error_hook.h"
#include "support/call_table.h"
#include "support/fake_clock.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

namespace quorvane::test {

using namespace std::chrono_literals;

namespace {

struct LogFixture {
    FakeClock clock{fromCalendar({2026, 11, 22, 14, 3, 59})};
    TempFolder folder;
    EventLog log{clock, folder.path()};
    std::vector<std::string> shown;
    LogFixture()
    {
        log.setLineSink([this](const std::string& line) { shown.push_back(line); });
    }
};

} // namespace

TEST(EventLog, LevelRulesDecideWhatIsKept)
{
    const auto levels = [](const Args& a) {
        LogFixture f;
        f.log.setActiveLogOpen(a[0] == "1");
        f.log.configure(a[1] == "1", a[2] == "1", false);
        std::string kept;
        for (int level = 0; level < 4; ++level) {
            f.shown.clear();
            f.log.AddLine(level, "line");
            if (!f.shown.empty() != f.log.wants(level)) return "shown and wanted differ at " + std::to_string(level);
            if (f.log.wants(level)) kept += std::to_string(level) + ' ';
        }
        if (std::filesystem::exists(f.folder.path() / "logs")) return std::string("a file was written");
        return kept + (f.log.activeLog().empty() ? "" : "window");
    };
    runCallTable(QUORVANE_HOST_DATA "/log_levels.txt", {{"Levels", levels}}, 5);
}

TEST(EventLog, ThreeHundredLineWindow)
{
    LogFixture f;
    f.log.setActiveLogOpen(true);
    for (int i = 1; i <= 301; ++i) f.log.AddLine(0, "line " + std::to_string(i));
    EXPECT_EQ(f.log.activeLog().size(), EventLog::kActiveLogLines);
    EXPECT_EQ(f.log.activeLog().front(), "14:03:59   line 2"); // the 301st line pushed out the first
    EXPECT_EQ(f.log.activeLog().back(), "14:03:59   line 301");

    f.log.setActiveLogOpen(false); // closing the window discards its lines
    EXPECT_TRUE(f.log.activeLog().empty());
}

// A file a day under logs/, created with its folder; it stops at its size limit with one closing line
// and the first line after midnight starts the next day's file.
TEST(EventLog, DailyFileCreatesFolderStopsAtItsSizeLimitAndSwitchesAtMidnight)
{
    LogFixture f;
    f.clock.set(fromCalendar({1999, 12, 22, 23, 0, 0}));
    f.log.configure(true, false, true, 1); // window closed: the file alone
    const std::string filler(1000, 'x');   // 1 013 bytes a line with its time and line end
    for (int i = 0; i < 1100; ++i) f.log.AddLine(0, filler);
    f.clock.set(fromCalendar({1999, 12, 22, 23, 59, 59}));
    f.log.AddLine(0, "the file is full");
    f.clock.advance(2s);
    f.log.AddLine(0, "first of the next");
    f.log.AddLine(2, "outgoing");
    f.log.closeFile();
    const std::string day = f.folder.read("logs/19991222.log");
    const std::string closing =
        "23:00:00   Log file reached its size limit of 1 MB - logging to file stops until tomorrow.\r\n";
    EXPECT_EQ(day.size(), 1036 * 1013 + closing.size()); // the first line at or past 1 MB is not written
    EXPECT_TRUE(day.ends_with(closing));
    EXPECT_EQ(f.folder.read("logs/19991223.log"), "00:00:01   first of the next\r\n00:00:01   outgoing\r\n");

    // A restart on the same day appends to the day's file.
    EventLog again(f.clock, f.folder.path());
    again.configure(true, false, true);
    again.AddLine(0, "after restart");
    again.closeFile();
    EXPECT_EQ(f.folder.read("logs/19991223.log"),
              "00:00:01   first of the next\r\n00:00:01   outgoing\r\n00:00:01   after restart\r\n");
}

// A log folder that cannot be made turns writing off for the run and says so in the window; a full
// disk is reported once and writing goes on when there is room; a failing window is reported under
// AddLine's label, not thrown.
TEST(EventLog, FailuresAreReportedNotThrown)
{
    LogFixture f;
    std::vector<std::string> reports;
    const auto previous = setErrorHandler(
        [&](const std::string& label, const std::string& what) { reports.push_back(label + ": " + what); });
    f.folder.write("logs", "a file where the folder should be");
    f.log.setActiveLogOpen(true);
    f.log.configure(true, false, true);
    f.log.AddLine(0, "first");
    f.log.AddLine(0, "second");
    EXPECT_FALSE(f.log.writeLog());
    EXPECT_EQ(f.shown, (std::vector<std::string>{"14:03:59   first", "14:03:59   Error opening log file!",
                                                 "14:03:59   second"}));

    std::filesystem::remove(f.folder.path() / "logs");
    std::filesystem::create_directory(f.folder.path() / "logs");
    const auto file = f.folder.path() / "logs" / "20261122.log";
    std::filesystem::create_symlink("/dev/full", file); // every write fails with ENOSPC
    f.log.configure(true, false, true);
    for (const char* line : {"lost", "lost too"}) {
        f.log.AddLine(0, line);
        f.log.flush();
    }
    std::filesystem::remove(file); // room again
    f.log.AddLine(0, "kept");
    f.log.flush();
    EXPECT_EQ(f.folder.read("logs/20261122.log"), "14:03:59   kept\r\n");

    f.log.setLineSink([](const std::string&) { throw std::runtime_error("window gone"); });
    EXPECT_NO_THROW(f.log.AddLine(0, "line"));
    setErrorHandler(previous);
    EXPECT_EQ(reports, (std::vector<std::string>{
                           "modMain AddLine: Cannot write logs/20261122.log: No space left on device",
                           "modMain AddLine: window gone"}));
}

} // namespace quorvane::test
