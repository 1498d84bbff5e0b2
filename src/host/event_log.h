// AddLine, the one entry to the log: level rules, the 300-line Active Log, and the daily log file.
// Never throws to its caller; the clock is injected, the file goes through std streams.
#pragma once

#include "net/clock.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

namespace quorvane {

class EventLog {
public:
    static constexpr size_t kActiveLogLines = 300;

    // onLine receives each line shown in the Active Log (the window, or standard output headless).
    // onError receives failures inside AddLine itself, for the error report.
    EventLog(const Clock& clock, std::filesystem::path programFolder);

    // The flags that decide which levels are kept and whether the daily file is written, and the
    // size in MB at which the day's file stops (LOGMAXSIZE).
    void configure(bool logDetail, bool logInOnly, bool writeLog, int32_t maxMB = 100);
    void setActiveLogOpen(bool open);
    bool activeLogOpen() const { return m_activeOpen; }
    void setLineSink(std::function<void(const std::string& line)> sink) { m_sink = std::move(sink); }

    // True when a line of this level would go anywhere: callers test it before building text.
    bool wants(int level) const;
    void AddLine(int level, const std::string& text);

    // The Active Log, oldest line first (empty while the window is closed).
    const std::deque<std::string>& activeLog() const { return m_active; }
    void clearActiveLog() { m_active.clear(); }
    bool writeLog() const { return m_writeLog; }
    // Closes the daily file (at shut-down).
    void closeFile();
    // Writes out what the daily file holds in its buffer; the housekeeping tick calls it each second,
    // so that logging every query costs no write per line. A failed write is reported (once until
    // one succeeds) and the file is opened anew with the next line.
    void flush();

private:
    bool levelPasses(int level) const;
    void writeToFile(DateTime now, const std::string& line);
    bool openFile(DateTime now);
    void stopFile();

    const Clock& m_clock;
    std::filesystem::path m_folder;
    bool m_logDetail = true;
    bool m_logInOnly = false;
    bool m_writeLog = false;
    bool m_activeOpen = false;
    std::deque<std::string> m_active;
    std::function<void(const std::string&)> m_sink;
    std::ofstream m_file;
    std::string m_logFileDate; // "yyyymmdd" of the open file, empty when none is open
    int32_t m_maxMB = 100;
    uint64_t m_fileBytes = 0; // the size of the day's file
    bool m_fileFull = false;  // the day's file reached m_maxMB: nothing more until the next day
    bool m_writeFailed = false; // the last flush failed (and was reported)
    int64_t m_stampSecond = -1; // the second that m_stamp ("hh:mm:ss   ") was made for
    std::string m_stamp;
};

} // namespace quorvane
