// The one-second housekeeping tick of the main window, and the receive handlers of the DNS socket
// (with its block-list and flood check) and of the outgoing query socket.
#include "host/engine.h"

#include <cmath>
#include <fstream>

namespace quorvane {

namespace {

// The activity picture of the tray icon returns to normal about a second after it was shown
// (a little less, so that the next tick is sure to reach it despite rounding).
constexpr double kTrayActivityDays = 0.9 / kSecondsPerDay;

std::string plural(long count, const char* unit)
{
    return std::to_string(count) + ' ' + unit + (count == 1 ? "" : "s");
}

} // namespace

// "Uptime: 1 Day, 2 Hours, 0 Minutes" for the time since start.
std::string uptimeText(DateTime start, DateTime now)
{
    const auto minutes = static_cast<long>((now - start) * 1440.0 + 1e-7);
    return "Uptime: " + plural(minutes / 1440, "Day") + ", " + plural(minutes / 60 % 24, "Hour") + ", " +
           plural(minutes % 60, "Minute");
}

void Engine::receiveDns(const Endpoint& from, std::string_view data)
{
    if (!m_serverRunning || data.size() < 12) return;
    DoTray(1);
    const DateTime now = m_clock.now();
    if (!m_flood.check(from.address, (now - std::floor(now)) * kSecondsPerDay)) return;
    const bool isAnswer = (static_cast<unsigned char>(data[2]) & 0x80) != 0;
    if (!isAnswer)
        guarded("modDNS ProcReq", [&] { m_dns.ProcReq(from, data); });
    else
        guarded("modDNS ProcAns", [&] { m_outgoing.datagram(from, data); });
}

// Answers to our queries; this socket has no flood check, and queries that arrive on it are dropped.
void Engine::receiveDns2(const Endpoint& from, std::string_view data)
{
    if (!m_serverRunning) return;
    DoTray(1);
    if (data.size() >= 12 && (static_cast<unsigned char>(data[2]) & 0x80) != 0)
        guarded("modDNS ProcAns", [&] { m_outgoing.datagram(from, data); });
}

void Engine::writeDailyLog(const char* label, const std::string& suffix, const std::string& lines)
{
    if (!m_settings.WRITELOG) return;
    guarded(label, [&] {
        std::ofstream out(m_options.programFolder / "logs" / (dateStamp(m_clock.now()) + suffix),
                          std::ios::app | std::ios::binary);
        out << lines << std::flush; // a full disk shows when the buffer goes out, not at the close
        if (!out) throw std::system_error(errno, std::generic_category(), "Cannot write logs/" + suffix);
    });
}

void Engine::WriteBlockLog(const std::string& address)
{
    writeDailyLog("clDNSRequest WriteFailLog", "block.log",
                  timeOfDayText(m_clock.now()) + "   IP address " + address + " blocked (more than " +
                      std::to_string(m_settings.BOMBLEVEL) + " DNS Requests per second)\r\n");
}

void Engine::appendDailyLog(const std::string& suffix, const std::string& lines)
{
    writeDailyLog("clDNSReq WriteFailLog", suffix, lines);
}

void Engine::Timer1()
{
    guarded("frmMain Timer1", [&] {
        const DateTime now = m_clock.now();
        m_dns.removeFinished();
        m_dns.retryWaiting();
        m_outgoing.tick();
        m_store.sweepCache();
        pollSecondaryZones(now);
        keepLeases();
        fetchListsWhenDue(now);
        if (m_settings.CHECKNEW > 0 && (now - m_lastNewZoneScan) * kSecondsPerDay > m_settings.CHECKNEW) {
            m_lastNewZoneScan = now;
            m_store.CheckNewZone();
        }
        zeroSkippedSeconds(toCalendar(now).second);
        if (m_serverRunning) showStatus();
        if (m_trayState == 1 && now - m_trayChanged >= kTrayActivityDays) DoTray(0);
        m_log.flush();
    });
    m_events.onTick();
}

// Leases that ended long ago go, and a table that changed is written at once (at most once a
// second), so that a crash or a power cut loses no lease of the run.
void Engine::keepLeases()
{
    m_dhcp.purge();
    if (!m_dhcp.takeChanged()) return;
    saveLeases();
    m_events.onLeases(m_dhcp.leases());
}

// Secondary zones whose refresh or retry time has come are queued for a check, at most once a
// minute.
void Engine::pollSecondaryZones(DateTime now)
{
    if ((now - m_lastZonePoll) * kSecondsPerDay <= 60) return;
    m_lastZonePoll = now;
    std::vector<std::string> due; // queued after the walk: a check may start at once
    for (const clZone& zone : m_store.Zones())
        if (zone.ZoneType == zonetype::Secondary && !zone.PrimaryIP.empty() && zone.NextRefresh <= now)
            due.push_back(zone.Name);
    for (const std::string& zone : due)
        guarded("ctlZTS Que", [&] { m_ZoneTS.Que(zone); });
}

void Engine::zeroSkippedSeconds(int second)
{
    // Every slot after the last processed second up to the current one, wrapping at 59, so that
    // neither a late tick nor a quiet minute leaves counts from a minute ago.
    if (m_lastSecond >= 0 && second != m_lastSecond) {
        auto slot = static_cast<size_t>(m_lastSecond);
        do {
            slot = (slot + 1) % 60;
            m_counters.RequestsPerSecond[slot] = 0;
            m_counters.BlockedPerSecond[slot] = 0;
        } while (slot != static_cast<size_t>(second));
    }
    m_lastSecond = second;
}

void Engine::showStatus()
{
    m_events.onStatusText(0, uptimeText(m_startTime, m_clock.now()));
    m_events.onStatusText(1, m_settings.NAME);
    std::string requests = "Requests:" + std::to_string(m_counters.RequestCount) + ' ';
    if (m_blockLists.current() != nullptr) requests += "Blocked:" + std::to_string(m_counters.BlockedCount) + ' ';
    m_events.onStatusText(2, requests);
    m_events.onStatusText(3, "Cache:" + std::to_string(m_store.recordCount()) + ' ' +
                                 cacheSizeText(m_store.cacheBytes(), m_store.cacheCap()) + ' ');
}

} // namespace quorvane
