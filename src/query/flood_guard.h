// Flood protection: the block list, the exempt list, and the detector that blocks a client
// sending more than BOMBLEVEL datagrams within one second. Runs before any parsing.
// No network and no clock of its own: the caller passes the sender and the time of day.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

namespace quorvane {

class FloodGuard {
public:
    using Log = std::function<void(const std::string& text)>;

    // log receives the level-0 lines of the guard; blocked receives each newly blocked address.
    FloodGuard(Log log, std::function<void(const std::string& address)> blocked);

    void configure(int bombLevel, bool logBlock, const std::vector<std::string>& noBlock);

    // True when a datagram from this address (host byte order) may be processed. secondsOfDay is
    // the local time of day in seconds, with fractions.
    bool check(uint32_t address, double secondsOfDay);

    // Reads blocks.dat into the list; a missing file leaves it empty.
    void LoadBlocks(const std::filesystem::path& file);
    // Replaces blocks.dat with the list; false when it cannot be written.
    bool SaveBlocks(const std::filesystem::path& file) const;

    const std::vector<std::string>& BlockList() const { return m_blockList; }
    // The options dialog's edited list replaces the whole list.
    void setBlockList(const std::vector<std::string>& addresses);
    bool isBlocked(uint32_t address) const { return m_blocked.count(address) != 0; }

private:
    void add(const std::string& address);

    Log m_log;
    std::function<void(const std::string&)> m_onBlocked;
    std::vector<std::string> m_blockList;     // dotted text, in the order blocked
    std::unordered_set<uint32_t> m_blocked;   // the same addresses, for the per-datagram look-up
    std::unordered_set<uint32_t> m_noBlock;
    int m_bombLevel = 0;
    bool m_logBlock = true;
    // The detector follows one address at a time: the run of consecutive datagrams from it.
    uint32_t m_floodIP = 0;
    bool m_floodIPSet = false;
    int m_floodCount = 0;
    double m_floodStart = 0;
};

inline constexpr const char* kBlocksFileName = "blocks.dat";

} // namespace quorvane
