// The support file "support.txt": the pending error, the system, the program's state, the last
// log lines and the configuration and data files, gathered for a user to send to support.
#pragma once

#include "net/clock.h"

#include <deque>
#include <filesystem>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvane {

struct PendingError {
    long number = 0;
    std::string description;
};

struct SystemInfo {
    std::string platform; // the kernel's name ("Linux")
    std::string version;  // its release
    std::string build;    // its build text
};

// Reads the system information; nullopt when it cannot be read.
std::optional<SystemInfo> readSystemInfo();

struct SupportData {
    std::optional<PendingError> error;
    std::string label;
    std::string additional;
    std::vector<std::string> localAddresses;
    std::optional<SystemInfo> system;
    DateTime now = 0;
    bool running = false;
    std::filesystem::path executable;
    std::string version; // "0.01.0001"
    uint64_t requestCount = 0;
    size_t pendingCount = 0; // requests waiting for an answer
    size_t cacheCount = 0;
    std::string cacheSize; // "(3.1/32 MB)"
    double uptimeDays = 0;
    const std::deque<std::string>* activeLog = nullptr; // null while the log window is closed
    std::filesystem::path programFolder;
    std::string hostsFile; // empty: no hosts file section
    // Block lists: "SOURCE: N names (M lines skipped), read DATE" per list; empty without lists.
    std::vector<std::string> blockLists;
    uint64_t blockedCount = 0;
};

inline constexpr const char* kSupportFileName = "support.txt";
inline constexpr const char* kSupportAddress = "support@quorvane.example";

// Rewrites programFolder/support.txt whole (through a temporary file). Each section is guarded on
// its own; a failure writes that section's "** Error ..." line. Returns false when the file could
// not be written at all.
bool writeSupportFile(const SupportData& data);

// The report's text, as written to the file.
std::string supportText(const SupportData& data);

} // namespace quorvane
