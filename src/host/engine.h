// The engine: owns all server state and runs on one thread, driven by socket events, timer ticks
// and the operator's commands. Talks to the world only through Network, Clock and EngineEvents.
#pragma once

#include "dhcp/dhcp_server.h"
#include "host/block_lists.h"
#include "host/engine_events.h"
#include "host/event_log.h"
#include "host/settings.h"
#include "host/support_report.h"
#include "query/dns_service.h"
#include "query/dns_tcp.h"
#include "query/flood_guard.h"
#include "query/query_host.h"
#include "query/outgoing_queries.h"
#include "query/request_counters.h"
#include "replication/notify.h"
#include "replication/reload_port.h"
#include "replication/secondary_zones.h"
#include "replication/zone_transfer.h"
#include "store/record_store.h"
#include "net/clock.h"
#include "net/error_hook.h"
#include "net/network.h"
#include "net/socket_routes.h"

#include <csignal>
#include <exception>
#include <filesystem>
#include <map>
#include <system_error>
#include <string>
#include <variant>
#include <vector>

namespace quorvane {

// "Uptime: 1 Day, 2 Hours, 0 Minutes" for the time between start and now.
std::string uptimeText(DateTime start, DateTime now);

// The answer mode of a BLOCKANSWER setting.
BlockAnswer blockAnswerOf(const std::string& setting);

// Why the program closes; each has its own log line.
enum class CloseReason { User, SessionEnded, TaskManager };

// What a front end asks of the engine. A command carries copies only, and what comes back comes
// back as events (EngineEvents), so nothing outside the engine thread touches the engine's state.
enum class Command {
    StartStop,
    ReloadRecords,
    WriteSupportFile,
    ClearCache,
    CacheSnapshot,  // answered by onCacheSnapshot
    OpenActiveLog,  // the log window opened: lines are kept for the support file
    CloseActiveLog, // and closed: they are forgotten
    ClearActiveLog,
    SendOptions,    // answered by onOptions
    SendCounters,   // answered by onCounters
    UpdateLists,    // fetch the block lists at addresses now
};
// The options dialog's accepted settings, with the flood block list it edits.
struct ApplyOptions {
    Settings settings;
    std::vector<std::string> blockList;
};
// The leases window's "Delete".
struct DeleteLease {
    std::string address;
};
using EngineCommand = std::variant<Command, ApplyOptions, DeleteLease, CloseReason>;

struct EngineOptions {
    std::filesystem::path programFolder;
    std::filesystem::path executable;
    bool activeLogOpen = false; // the log window is open (headless: lines go to standard output)
};

class Engine : private QueryHost {
public:
    static constexpr uint16_t kDnsPort = 53;
    static constexpr uint16_t kDotPort = 853;

    Engine(Network& network, Clock& clock, EngineEvents& events, EngineOptions options);
    ~Engine() override;
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // Where block lists are built; by default at once, on the engine thread. Set before Main.
    void setListLoader(ListLoader& loader) { m_listLoader = &loader; }
    // Start-up: settings, addresses, stored data, then the services.
    void Main();
    // An operator's command, run under the error guard.
    void execute(Command command);
    // Any command of a front end.
    void run(const EngineCommand& command);
    // The options dialog's accepted settings (see checkOptions): applied, services rebound when
    // running, and saved.
    void applyOptions(const Settings& accepted, const std::vector<std::string>& blockList);
    // The leases window's "Delete": the lease of that address leaves the table.
    void deleteLease(const std::string& address);
    // Logs the reason, saves what is kept across runs, closes the sockets and the log file.
    void close(CloseReason reason);
    // The signals the program obeys, headless and on the desktop alike: TERM and INT close it as
    // the operator's confirmed close does, HUP reloads the records, USR1 pauses or starts the
    // server and USR2 writes the support file.
    static constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGUSR2};
    void onSignal(int signal);

    // Unexpected errors: writes the support file and asks the front end to show the report.
    void ErrorReport(const std::string& label, const std::string& additional,
                     const std::optional<PendingError>& error);
    void AddLine(int level, const std::string& text) override { m_log.AddLine(level, text); }

    bool serverRunning() const { return m_serverRunning; }
    DateTime startTime() const { return m_startTime; }
    const std::vector<std::string>& localAddresses() const { return m_localAddresses; }
    const Settings& settings() const { return m_settings; }
    EventLog& log() { return m_log; }
    const FloodGuard& floodGuard() const { return m_flood; }
    RequestCounters& counters() { return m_counters; }
    RecordStore& store() { return m_store; }
    // The port of the reload socket (0 when it could not be bound).
    uint16_t reloadPort() const { return m_network.localPort(m_WSReload); }

private:
    // Runs work, turning any exception that escapes it into an error report under label.
    template <class Work> void guarded(const char* label, Work&& work);

    void sendOptions();
    void loadSettings();
    void saveSettings();
    void InitWinsock();
    void StartServices();
    bool bindDns();
    void bindQuerySocket();
    void bindReloadPort();
    void closeDns();
    void bindDot();
    void reloadDotCertificate();
    void mnuStartStop();
    void writeSupportFileCommand();
    static std::string supportFileUnwritten(const std::string& file);
    void configureFromSettings();
    void receiveDns(const Endpoint& from, std::string_view data);
    void receiveDns2(const Endpoint& from, std::string_view data);
    void WriteBlockLog(const std::string& address);
    void writeDailyLog(const char* label, const std::string& suffix, const std::string& lines);
    void saveBlocks();
    void loadBlockLists(bool fetch = false);
    void swapBlockLists(std::shared_ptr<const FilterSet> set);
    void noteFetches(const FetchOutcomes& fetched);
    void fetchListsWhenDue(DateTime now);
    void saveLeases();
    void Timer1();
    void pollSecondaryZones(DateTime now);
    void keepLeases();
    void zeroSkippedSeconds(int second);
    void showStatus();
    SupportData supportData() const;

    // The handlers of each owner's sockets, under the labels their errors are reported with.
    SocketRoute dnsPortRoute();
    SocketRoute outgoingRoute();
    SocketRoute secondaryRoute();
    SocketRoute reloadRoute();
    SocketRoute dhcpRoute();
    SocketRoute dotRoute();

    bool wants(int level) const override { return m_log.wants(level); }
    void sendDns(const Endpoint& to, std::string_view message) override { m_network.sendTo(m_WSDNS, to, message); }
    void sendDnsTcp(SocketId connection, std::string_view message) override;
    void DoTray(int state) override;
    void appendDailyLog(const std::string& suffix, const std::string& lines) override;

    Network& m_network;
    Clock& m_clock;
    EngineEvents& m_events;
    EngineOptions m_options;
    // Every socket is made through the network of its owner, so its events go straight there.
    SocketRoutes m_routes;
    Network& m_dnsPort;   // WSDNS, and WSZT with its connections
    Network& m_outgoingNet;
    Network& m_secondaryNet;
    Network& m_reloadNet;
    Network& m_dhcpNet;
    Network& m_dotNet; // the DNS-over-TLS listener; its connections are served as those of WSZT
    Settings m_settings;
    EventLog m_log;
    ErrorHandler m_previousErrorHandler;

    DateTime m_startTime = 0;
    bool m_serverRunning = false;
    std::vector<std::string> m_localAddresses;
    SocketId m_WSDNS = kNoSocket;
    SocketId m_WSZT = kNoSocket;
    SocketId m_WSDoT = kNoSocket; // TCP 853, while TLSCertFile and TLSKeyFile load
    SocketId m_WSReload = kNoSocket; // commands from local tools; bound at start, kept while paused
    RequestCounters m_counters;
    OutgoingQueries m_outgoing; // queries to other servers and their answers; kept while paused
    FloodGuard m_flood;
    RecordStore m_store;
    DnsService m_dns;
    ctlZTS m_ZoneTS;
    ZoneNotifications m_notifications;
    DnsTcpService m_dnsTcp; // DNS over TCP: questions to m_dns, the rest to m_zoneTransfers
    ZoneTransferServer m_zoneTransfers;
    ReloadPort m_reloadPort;
    DhcpServer m_dhcp;
    InlineListLoader m_inlineLoader;
    ListLoader* m_listLoader = &m_inlineLoader;
    BlockLists m_blockLists;
    uint64_t m_listGeneration = 0; // counts loads asked for; only the last one's result is used
    std::vector<std::string> m_blockListReport; // one line per list for the support report
    DateTime m_nextFetch = 0;                    // when the lists at addresses are fetched next; 0: not planned
    std::map<std::string, std::string> m_lastFetch; // per address: how its last fetch went
    DateTime m_lastNewZoneScan = 0;
    DateTime m_lastZonePoll = 0;
    int m_lastSecond = -1; // the second of the minute that the timer processed last
    int m_trayState = 0;
    DateTime m_trayChanged = 0;
};

template <class Work> inline void Engine::guarded(const char* label, Work&& work)
{
    try {
        work();
    } catch (const std::system_error& e) {
        ErrorReport(label, "", PendingError{e.code().value(), e.what()});
    } catch (const std::exception& e) {
        ErrorReport(label, "", PendingError{0, e.what()});
    } catch (...) {
        ErrorReport(label, "", PendingError{0, "Unknown error"});
    }
}

} // namespace quorvane
