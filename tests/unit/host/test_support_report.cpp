#include "host/support_report.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

namespace quorvane::test {

namespace {

SupportData sample(const TempFolder& folder)
{
    SupportData d;
    d.localAddresses = {"192.168.1.10", "10.0.0.2"};
    d.system = SystemInfo{"Linux", "6.1.0", "#1 SMP"};
    d.now = fromCalendar({2026, 11, 22, 9, 5, 7});
    d.running = true;
    d.executable = "/opt/quorvane/quorvane";
    d.version = "0.01.0001";
    d.requestCount = 42;
    d.cacheCount = 7;
    d.cacheSize = "(0.1/32 MB)";
    d.pendingCount = 3;
    d.uptimeDays = 1.5;
    d.programFolder = folder.path();
    return d;
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::string line;
    for (char c : text) {
        if (c == '\n') {
            lines.push_back(line);
            line.clear();
        } else {
            line += c;
        }
    }
    return lines;
}

bool has(const std::vector<std::string>& lines, const std::string& line)
{
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

} // namespace

TEST(SupportReport, SectionsInOrderWithoutError)
{
    TempFolder folder;
    folder.write("quorvane.ini", "HostsTTL: 3600 \r\nBombLevel: 0 \r\n");
    const auto lines = linesOf(supportText(sample(folder)));

    ASSERT_GE(lines.size(), 30u);
    EXPECT_EQ(lines[0], "Quorvane - Support Info");
    EXPECT_EQ(lines[1], "------------------------------");
    EXPECT_FALSE(has(lines, "Error Description")); // no error pending
    const std::vector<std::string> inOrder{"System Information",
                                           "------------------",
                                           "Interfaces : 192.168.1.10/ 10.0.0.2",
                                           "OS Platform: Linux",
                                           "OS Version :6.1.0",
                                           "OS Build   :#1 SMP",
                                           "Date/Time  : 2026-11-22 09:05:07",
                                           "",
                                           "Application Information",
                                           "-----------------------",
                                           "Status    : Running",
                                           "Path      : /opt/quorvane/quorvane",
                                           "Version   : 0.01.0001",
                                           "",
                                           "Statistics",
                                           "----------",
                                           "Requests:42",
                                           "Cache   :7 (0.1/32 MB)",
                                           "Uptime  : 1.500000",
                                           "Pending :3",
                                           "",
                                           "Recent Log Entries",
                                           "------------------",
                                           "** No log entries!", // log window closed
                                           ""};
    const auto start = std::find(lines.begin(), lines.end(), "System Information");
    ASSERT_NE(start, lines.end());
    EXPECT_TRUE(std::equal(inOrder.begin(), inOrder.end(), start));

    const std::string iniTitle = "File: " + (folder.path() / "quorvane.ini").string();
    const auto ini = std::find(lines.begin(), lines.end(), iniTitle);
    ASSERT_NE(ini, lines.end());
    EXPECT_EQ(*(ini + 1), std::string(iniTitle.size(), '-'));
    EXPECT_EQ(*(ini + 2), "HostsTTL: 3600 ");
    EXPECT_EQ(*(ini + 3), "BombLevel: 0 ");
    // Missing files are reported in place of their content; no hosts file is set, so no hosts section.
    for (const char* name : {"blocks.dat", "named.root"}) {
        const auto title = std::find(lines.begin(), lines.end(), "File: " + (folder.path() / name).string());
        ASSERT_NE(title, lines.end()) << name;
        EXPECT_EQ(*(title + 2), "** Error opening file!");
    }
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const std::string& l) { return l.rfind("File: ", 0) == 0; }),
              3);
}

TEST(SupportReport, ErrorSectionLastFiftyLinesHostsFileAndMissingSystemInfo)
{
    TempFolder folder;
    folder.write("hosts", "127.0.0.1 localhost\n");
    std::deque<std::string> log;
    for (int i = 1; i <= 60; ++i) log.push_back("12:00:00   line " + std::to_string(i));
    SupportData d = sample(folder);
    d.error = PendingError{5, "Invalid argument"};
    d.label = "modDNS ZipName";
    d.additional = "extra";
    d.activeLog = &log;
    d.system.reset();
    d.running = false;
    d.hostsFile = (folder.path() / "hosts").string();

    ASSERT_TRUE(writeSupportFile(d));
    const auto lines = linesOf(folder.read("support.txt"));
    const auto error = std::find(lines.begin(), lines.end(), "Error Description");
    ASSERT_NE(error, lines.end());
    const std::vector<std::string> errorLines{"Error Description", "-----------------", "Number     :5",
                                              "Description: Invalid argument", "Module     : modDNS ZipName",
                                              "Additional : extra", ""};
    EXPECT_TRUE(std::equal(errorLines.begin(), errorLines.end(), error));
    EXPECT_TRUE(has(lines, "** Error getting system info!"));
    EXPECT_FALSE(has(lines, "OS Platform: Linux"));
    EXPECT_TRUE(has(lines, "Status    : Paused"));

    const auto recent = std::find(lines.begin(), lines.end(), "Recent Log Entries");
    ASSERT_NE(recent, lines.end());
    EXPECT_EQ(*(recent + 2), "12:00:00   line 11"); // only the 50 most recent, oldest first
    EXPECT_EQ(*(recent + 51), "12:00:00   line 60");
    EXPECT_EQ(*(recent + 52), "");
    EXPECT_TRUE(has(lines, "127.0.0.1 localhost"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "support.txt.tmp"));
}

TEST(SupportReport, UnwritableFolderLeavesNoFileBehind)
{
    TempFolder folder;
    SupportData d = sample(folder);
    d.programFolder = folder.path() / "missing";
    EXPECT_FALSE(writeSupportFile(d));
    EXPECT_FALSE(std::filesystem::exists(d.programFolder));
}

} // namespace quorvane::test
