#include "replication/reload_port.h"

#include "wire/clean_name.h"

#include <algorithm>
#include <cctype>

namespace quorvane {

namespace {

constexpr uint32_t kLoopback = 0x7F000001; // commands are taken from 127.0.0.1 only

std::string upper(std::string_view text)
{
    std::string out(text);
    for (char& c : out)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out;
}

// The zone of a command: cleaned, with the final dot that names here come without.
std::string zoneName(std::string_view text)
{
    return CleanName(text) + ".";
}

} // namespace

void ReloadPort::DataArrival(const Endpoint& from, std::string_view data)
{
    if (from.address != kLoopback) return;
    const std::string command = upper(data);
    if (command == "RELOAD") return m_store.LoadPerm();
    if (command == "UPDATE-LISTS") {
        if (m_updateLists) m_updateLists();
        return;
    }
    if (command.starts_with("UNLOAD ")) return unload(zoneName(data.substr(7)));
    // "RELOAD ", a letter that says primary or secondary (the zone itself tells which it is), a
    // blank and the zone.
    if (command.starts_with("RELOAD ") && data.size() >= 8)
        reloadZone(zoneName(data.substr(std::min<size_t>(9, data.size()))));
}

void ReloadPort::unload(const std::string& zone)
{
    if (m_store.findZone(zone) == nullptr) return;
    m_host.AddLine(0, "Removing Zone: " + zone);
    m_store.removeZone(zone);
}

void ReloadPort::reloadZone(const std::string& zone)
{
    m_store.LoadZone(zone);
    const clZone* loaded = m_store.findZone(zone);
    if (loaded == nullptr) return;
    if (!loaded->PrimaryIP.empty())
        m_queue.Que(zone);
    else if (m_running())
        m_notifications.ZoneNotify(*loaded);
}

} // namespace quorvane
