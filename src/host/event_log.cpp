#include "host/event_log.h"

#include "net/error_hook.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <system_error>

namespace quorvane {

EventLog::EventLog(const Clock& clock, std::filesystem::path programFolder)
    : m_clock(clock), m_folder(std::move(programFolder))
{
}

void EventLog::configure(bool logDetail, bool logInOnly, bool writeLog, int32_t maxMB)
{
    m_maxMB = maxMB;
    m_logDetail = logDetail;
    m_logInOnly = logInOnly;
    m_writeLog = writeLog;
    if (!m_writeLog) closeFile();
}

void EventLog::setActiveLogOpen(bool open)
{
    m_activeOpen = open;
    if (!open) m_active.clear(); // a closed window forgets its lines
}

bool EventLog::levelPasses(int level) const
{
    if (level > 1 && m_logInOnly) return false;
    if ((level == 1 || level == 3) && !m_logDetail) return false;
    return true;
}

bool EventLog::wants(int level) const
{
    return (m_activeOpen || m_writeLog) && levelPasses(level);
}

void EventLog::AddLine(int level, const std::string& text)
{
    if (!wants(level)) return;
    try {
        const DateTime now = m_clock.now();
        const auto second = static_cast<int64_t>(std::floor(now * kSecondsPerDay));
        if (second != m_stampSecond) {
            m_stampSecond = second;
            m_stamp = timeOfDayText(now) + "   ";
        }
        std::string line = m_stamp;
        line += text;
        if (m_activeOpen) {
            if (m_active.size() >= kActiveLogLines) m_active.pop_front();
            m_active.push_back(line);
            if (m_sink) m_sink(line);
        }
        if (m_writeLog) writeToFile(now, line);
    } catch (const std::exception& e) {
        reportError("modMain AddLine", e.what());
    }
}

void EventLog::writeToFile(DateTime now, const std::string& line)
{
    const std::string today = dateStamp(now);
    if (!m_logFileDate.empty() && m_logFileDate != today) closeFile(); // the first line after midnight
    if (m_logFileDate.empty() && !openFile(now)) {
        m_writeLog = false; // for the rest of the run; the saved setting is untouched
        AddLine(0, "Error opening log file!");
        return;
    }
    if (m_fileFull) return;
    if (m_fileBytes >= static_cast<uint64_t>(m_maxMB) << 20) return stopFile();
    m_file << line << "\r\n"; // flushed once a second by the tick, and when the file closes
    m_fileBytes += line.size() + 2;
}

// The day's file is as large as it may grow: one closing line, and no more until the date changes.
// The file stays named by its date, so that the next day's first line opens a new one.
void EventLog::stopFile()
{
    m_file << m_stamp << "Log file reached its size limit of " << m_maxMB
           << " MB - logging to file stops until tomorrow.\r\n";
    m_file.close();
    m_fileFull = true;
}

void EventLog::flush()
{
    if (!m_file.is_open()) return;
    if (m_file.flush()) {
        m_writeFailed = false;
        return;
    }
    // A full disk: the buffered lines are lost. The next line opens the file again, so that writing
    // goes on once there is room; the failure is reported once until a write succeeds.
    const std::string name = "logs/" + m_logFileDate + ".log";
    closeFile();
    if (!m_writeFailed) reportError("modMain AddLine", "Cannot write " + name + ": " + std::strerror(errno));
    m_writeFailed = true;
}

bool EventLog::openFile(DateTime now)
{
    const auto path = m_folder / "logs" / (dateStamp(now) + ".log");
    m_file.open(path, std::ios::out | std::ios::app | std::ios::binary);
    if (!m_file.is_open()) {
        std::error_code ignored; // a failure shows in the second open
        std::filesystem::create_directory(m_folder / "logs", ignored);
        m_file.clear();
        m_file.open(path, std::ios::out | std::ios::app | std::ios::binary);
    }
    if (!m_file.is_open()) return false;
    m_logFileDate = dateStamp(now);
    std::error_code unknown; // taken as empty
    const auto size = std::filesystem::file_size(path, unknown);
    m_fileBytes = unknown ? 0 : size;
    return true;
}

void EventLog::closeFile()
{
    if (m_file.is_open()) m_file.close();
    m_file.clear();
    m_logFileDate.clear();
    m_fileFull = false;
}

} // namespace quorvane
