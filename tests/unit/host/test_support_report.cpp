// The support report against golden copies; the program folder's path reads as <folder> in them.
#include "host/support_report.h"
#include "support/call_table.h"
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

// Compares with a golden copy where the folder's path reads as <folder>, and a title that names it
// is underlined as long as it reads there.
void expectGolden(const std::string& text, const TempFolder& folder, const char* name)
{
    const std::string path = folder.path().string();
    std::istringstream in(text);
    std::string shown, line, previous;
    while (std::getline(in, line)) {
        const bool underline = previous.find(path) != std::string::npos && line == std::string(previous.size(), '-');
        previous = line;
        if (underline) line.resize(line.size() - path.size() + std::string_view("<folder>").size());
        for (size_t at = line.find(path); at != std::string::npos; at = line.find(path, at))
            line.replace(at, path.size(), "<folder>");
        shown += line + '\n';
    }
    expectGoldenFile(std::string(QUORVANE_HOST_DATA "/") + name, shown);
}

} // namespace

// Running, no error pending, log window closed, settings file present, other files missing.
TEST(SupportReport, SectionsInOrderWithoutError)
{
    TempFolder folder;
    folder.write("quorvane.ini", "HostsTTL: 3600 \r\nBombLevel: 0 \r\n");
    expectGolden(supportText(sample(folder)), folder, "support_running.txt");
}

// The error section, the last 50 log lines, a hosts file and no system information; written atomically.
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
    expectGolden(folder.read("support.txt"), folder, "support_error.txt");
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "support.txt.tmp"));

    d.programFolder = folder.path() / "missing"; // an unwritable folder leaves nothing behind
    EXPECT_FALSE(writeSupportFile(d));
    EXPECT_FALSE(std::filesystem::exists(d.programFolder));
}

} // namespace quorvane::test
