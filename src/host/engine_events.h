// What the engine tells its front end (the headless printer or the desktop window). Calls come on
// the engine thread; a window forwards them to its own thread and never calls back into the engine.
#pragma once

#include "dhcp/lease_table.h"
#include "host/settings.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace quorvane {

enum class MessageIcon { Warning, Critical, Information };

// What the options dialog starts from: the settings, the flood block list and the machine's own
// addresses.
struct OptionsData
{
    Settings settings;
    std::vector<std::string> blockList;
    std::vector<std::string> localAddresses;
    // Per block list: "SOURCE: N names (M lines skipped), read DATE[, last fetch ...]".
    std::vector<std::string> blockListReport;
};

class EngineEvents {
public:
    virtual ~EngineEvents() = default;
    // A line as shown in the Active Log ("hh:mm:ss   text").
    virtual void onLogLine(const std::string& line) = 0;
    // A message box the window would show; lines are separated by '\n'.
    virtual void onMessageBox(const std::string& text, MessageIcon icon) = 0;
    // The error report's question, already written support file included; on Yes the window opens
    // the file in a text editor.
    virtual void onErrorReport(const std::string& question, const std::string& supportFile) = 0;
    // The services were started or paused (the caption of "&Start Server" / "&Pause Server").
    virtual void onServerState(bool running) = 0;
    // The main window's caption.
    virtual void onCaption(const std::string& caption) = 0;
    // Text for a status-bar panel (0 is the first).
    virtual void onStatusText(int panel, const std::string& text) = 0;
    // The notification-area icon: 0 normal, 1 activity, 2 error.
    virtual void onTray(int state) = 0;
    // The lease table changed: the leases window shows this list.
    virtual void onLeases(const std::vector<clLease>& leases) = 0;
    // A copy of the options: after start-up, after options were applied, and when asked for.
    virtual void onOptions(const OptionsData& options) = 0;
    // A copy of the requests of each second of the current minute, when asked for.
    virtual void onCounters(const std::array<uint16_t, 60>& perSecond) = 0;
    // With block lists in use, right after onCounters: the blocked questions of each second.
    virtual void onBlockedCounters(const std::array<uint16_t, 60>& /*perSecond*/) {}
    // snapshot.dat was written, as asked.
    virtual void onCacheSnapshot() = 0;
    // The one-second housekeeping tick has run; a service manager's watchdog is fed from here.
    virtual void onTick() {}
    // Shut-down has finished its saves; the front end ends the loop and the program.
    virtual void onClosed() = 0;
};

} // namespace quorvane
