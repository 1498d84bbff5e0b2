#include "host/support_report.h"

#include "net/atomic_file.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <sys/utsname.h>

namespace quorvane {

namespace {

constexpr size_t kRecentLines = 50;

void heading(std::ostream& out, const std::string& title)
{
    out << title << '\n' << std::string(title.size(), '-') << '\n';
}

void errorSection(std::ostream& out, const SupportData& d)
{
    if (!d.error) return;
    heading(out, "Error Description");
    out << "Number     :" << d.error->number << '\n'
        << "Description: " << d.error->description << '\n'
        << "Module     : " << d.label << '\n'
        << "Additional : " << d.additional << '\n'
        << '\n';
}

void systemSection(std::ostream& out, const SupportData& d)
{
    heading(out, "System Information");
    if (!d.system) {
        out << "** Error getting system info!\n\n";
        return;
    }
    out << "Interfaces : ";
    for (size_t i = 0; i < d.localAddresses.size(); ++i) out << (i > 0 ? "/ " : "") << d.localAddresses[i];
    out << '\n'
        << "OS Platform: " << d.system->platform << '\n'
        << "OS Version :" << d.system->version << '\n'
        << "OS Build   :" << d.system->build << '\n'
        << "Date/Time  : " << dateTimeText(d.now) << '\n'
        << '\n';
}

void applicationSection(std::ostream& out, const SupportData& d)
{
    heading(out, "Application Information");
    out << "Status    : " << (d.running ? "Running" : "Paused") << '\n'
        << "Path      : " << d.executable.string() << '\n'
        << "Version   : " << d.version << '\n'
        << '\n';
}

void statisticsSection(std::ostream& out, const SupportData& d)
{
    char uptime[32];
    std::snprintf(uptime, sizeof uptime, "%.6f", d.uptimeDays);
    heading(out, "Statistics");
    out << "Requests:" << d.requestCount << '\n'
        << "Cache   :" << d.cacheCount << ' ' << d.cacheSize << '\n'
        << "Uptime  : " << uptime << '\n'
        << "Pending :" << d.pendingCount << '\n'; // after the classic three lines, which readers expect together
    if (!d.blockLists.empty()) {
        out << "Blocked : " << d.blockedCount << '\n';
        for (const std::string& list : d.blockLists) out << "Block list " << list << '\n';
    }
    out << '\n';
}

void logSection(std::ostream& out, const SupportData& d)
{
    heading(out, "Recent Log Entries");
    if (d.activeLog == nullptr || d.activeLog->empty()) {
        out << "** No log entries!\n";
    } else {
        const size_t skip = d.activeLog->size() > kRecentLines ? d.activeLog->size() - kRecentLines : 0;
        for (size_t i = skip; i < d.activeLog->size(); ++i) out << (*d.activeLog)[i] << '\n';
    }
    out << '\n';
}

void dumpFile(std::ostream& out, const std::filesystem::path& path)
{
    const std::string title = "File: " + path.string();
    out << title << '\n' << std::string(title.size(), '-') << '\n';
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        out << "** Error opening file!\n";
    } else {
        std::string line;
        while (std::getline(in, line)) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            out << line << '\n';
        }
    }
    out << '\n';
}

} // namespace

std::optional<SystemInfo> readSystemInfo()
{
    utsname names{};
    if (uname(&names) != 0) return std::nullopt;
    return SystemInfo{names.sysname, names.release, names.version};
}

std::string supportText(const SupportData& d)
{
    std::ostringstream out;
    out << "Quorvane - Support Info\n"
        << std::string(30, '-') << '\n'
        << '\n'
        << "Please send your comments and questions to " << kSupportAddress << ".\n"
        << '\n';
    errorSection(out, d);
    systemSection(out, d);
    applicationSection(out, d);
    statisticsSection(out, d);
    logSection(out, d);
    dumpFile(out, d.programFolder / "quorvane.ini");
    dumpFile(out, d.programFolder / "blocks.dat");
    dumpFile(out, d.programFolder / "named.root");
    if (!d.hostsFile.empty()) dumpFile(out, d.hostsFile);
    return out.str();
}

bool writeSupportFile(const SupportData& data)
{
    return writeFileAtomically(data.programFolder / kSupportFileName, supportText(data));
}

} // namespace quorvane
