#include "query/flood_guard.h"

#include "net/atomic_file.h"
#include "net/network.h"
#include "wire/addresses.h"

#include <fstream>

namespace quorvane {

FloodGuard::FloodGuard(Log log, std::function<void(const std::string& address)> blocked)
    : m_log(std::move(log)), m_onBlocked(std::move(blocked))
{
}

void FloodGuard::configure(int bombLevel, bool logBlock, const std::vector<std::string>& noBlock)
{
    m_bombLevel = bombLevel;
    m_logBlock = logBlock;
    m_noBlock.clear();
    for (const auto& address : noBlock) m_noBlock.insert(addressValue(address));
}

bool FloodGuard::check(uint32_t address, double secondsOfDay)
{
    if (isBlocked(address)) {
        if (m_logBlock) m_log("Request from " + addressText(address) + " on Block list. Ignored!");
        return false;
    }
    if (m_bombLevel <= 0) return true;
    if (!m_floodIPSet || address != m_floodIP) {
        m_floodIP = address;
        m_floodIPSet = true;
        m_floodCount = 1;
        m_floodStart = secondsOfDay;
        return true;
    }
    if (++m_floodCount <= m_bombLevel) return true;
    // Across midnight the elapsed time is negative, which counts as within the second.
    if (secondsOfDay - m_floodStart > 1.0) {
        m_floodCount = 1;
        m_floodStart = secondsOfDay;
        return true;
    }
    if (m_noBlock.count(address) != 0) return true;

    const std::string text = addressText(address);
    m_log("IP address " + text + " blocked (more than " + std::to_string(m_bombLevel) + " Requests per second)");
    m_onBlocked(text);
    add(text);
    return false;
}

void FloodGuard::add(const std::string& address)
{
    if (m_blocked.insert(addressValue(address)).second) m_blockList.push_back(address);
}

void FloodGuard::setBlockList(const std::vector<std::string>& addresses)
{
    m_blockList.clear();
    m_blocked.clear();
    for (const auto& address : addresses) add(CanonicalIP(address));
}

void FloodGuard::LoadBlocks(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    std::string line;
    while (std::getline(in, line)) {
        const auto first = line.find_first_not_of(" \t");
        if (first != std::string::npos && line[first] == ';') continue;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        // Every other line, malformed or empty ones too, goes through the address conversion.
        add(CanonicalIP(first == std::string::npos ? std::string() : line.substr(first)));
    }
}

bool FloodGuard::SaveBlocks(const std::filesystem::path& file) const
{
    std::string text = "; Quorvane - IP address blocks\r\n";
    for (const auto& address : m_blockList) text += address + "\r\n";
    return writeFileAtomically(file, text);
}

} // namespace quorvane
