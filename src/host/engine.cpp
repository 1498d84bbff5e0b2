#include "host/engine.h"

#include "host/ini_file.h"
#include "host/version.h"

#include <cerrno>
#include <cstring>

namespace quorvane {

namespace {

const char* closeReasonLine(CloseReason reason)
{
    switch (reason) {
    case CloseReason::User:
        return "Program was closed by user.";
    case CloseReason::SessionEnded:
        return "Program was closed because Windows session ended.";
    case CloseReason::TaskManager:
        return "Program was closed through Windows Task Manager.";
    }
    return "";
}

} // namespace

Engine::Engine(Network& network, Clock& clock, EngineEvents& events, EngineOptions options)
    : m_network(network), m_clock(clock), m_events(events), m_options(std::move(options)), m_routes(network),
      m_dnsPort(m_routes.add(dnsPortRoute())), m_outgoingNet(m_routes.add(outgoingRoute())),
      m_secondaryNet(m_routes.add(secondaryRoute())), m_reloadNet(m_routes.add(reloadRoute())),
      m_dhcpNet(m_routes.add(dhcpRoute())), m_dotNet(m_routes.add(dotRoute())), m_log(clock, m_options.programFolder), m_outgoing(m_outgoingNet),
      m_flood([this](const std::string& text) { AddLine(0, text); },
              [this](const std::string& address) { WriteBlockLog(address); }),
      m_store(clock, m_options.programFolder,
              [this](int level, const std::string& text) { AddLine(level, text); }),
      m_dns(*this, clock, m_store, m_counters, m_outgoing),
      m_ZoneTS(
          m_secondaryNet, clock, *this, m_store, m_outgoing, [this](const clZone& zone) { m_notifications.ZoneNotify(zone); },
          [this] { return m_serverRunning; }),
      m_notifications(*this, m_store, m_counters, m_outgoing, m_ZoneTS),
      m_dnsTcp(m_dnsPort, clock, *this, m_dns.answerer(), m_flood), m_zoneTransfers(clock, *this, m_store, m_dnsTcp, m_counters),
      m_reloadPort(*this, m_store, m_notifications, m_ZoneTS, [this] { return m_serverRunning; }),
      m_dhcp(
          m_dhcpNet, clock, [this](int level, const std::string& text) { AddLine(level, text); },
          [this] { m_counters.countRequest(m_clock.now()); },
          [this](std::string_view name) {
              for (const auto& [owner, record] : m_store.records(name))
                  if (record.Permanent) return true;
              return false;
          })
{
    m_log.setActiveLogOpen(m_options.activeLogOpen);
    m_log.setLineSink([this](const std::string& line) { m_events.onLogLine(line); });
    m_store.setZoneNotify([this](const clZone& zone) {
        guarded("modDNS ZoneNotify", [&] { m_notifications.ZoneNotify(zone); });
    });
    m_dns.setLeases(&m_dhcp);
    m_reloadPort.setUpdateLists([this] { loadBlockLists(true); });
    m_outgoing.tls().setLog([this](const std::string& line) { AddLine(0, line); });
    m_dnsTcp.setMessages(&m_zoneTransfers);
    m_zoneTransfers.setNotifyHandler([this](const std::string& sender, std::string_view message,
                                            const std::function<void(std::string_view)>& reply) {
        bool taken = false;
        guarded("modDNS ProcNotify", [&] { taken = m_notifications.ProcNotifyTcp(sender, message, reply); });
        return taken;
    });
    m_dns.setNotifyHandler([this](const Endpoint& from, std::string_view message) {
        guarded("modDNS ProcNotify", [&] { m_notifications.ProcNotify(from, message); });
    });
    // Routines below the engine (codec, parsers) report their own failures through this hook.
    m_previousErrorHandler = setErrorHandler([this](const std::string& label, const std::string& what) {
        ErrorReport(label, "", PendingError{0, what});
    });
}

Engine::~Engine()
{
    setErrorHandler(std::move(m_previousErrorHandler));
}

void Engine::Main()
{
    guarded("modMain Main", [&] {
        m_startTime = m_clock.now();
        loadSettings();
        InitWinsock();
        configureFromSettings();
        AddLine(0, "Program started.");
        m_store.LoadPerm();
        if (m_settings.CACHERELOAD) {
            AddLine(0, "Loading Cache...");
            m_events.onStatusText(0, "Loading Cache...");
            m_store.LoadCache();
        }
        AddLine(0, "Loading IP address blocks...");
        m_flood.LoadBlocks(m_options.programFolder / kBlocksFileName);
        AddLine(0, "Loading DHCP Leases...");
        guarded("modDHCP Load", [&] { m_dhcp.Load(m_options.programFolder / kLeaseFileName); });
        m_events.onLeases(m_dhcp.leases());
        loadBlockLists();
        bindReloadPort();
        m_clock.startTimer(std::chrono::milliseconds(1000), [this] { Timer1(); });
        StartServices();
        // Copies of other servers' zones are checked as soon as the server answers, not a tick later.
        guarded("frmMain Timer1", [&] { pollSecondaryZones(m_clock.now()); });
        saveSettings(); // the file always holds every setting in its current form after a start
        sendOptions();
    });
}

void Engine::sendOptions()
{
    m_events.onOptions({m_settings, m_flood.BlockList(), m_localAddresses, m_blockListReport});
}

void Engine::loadSettings()
{
    guarded("modMain LoadINI", [&] {
        m_settings = LoadINI(m_options.programFolder);
        if (!m_settings.NAME.empty()) m_events.onCaption(mainCaption(m_settings));
    });
}

void Engine::saveSettings()
{
    guarded("modMain SaveINI", [&] {
        if (!SaveINI(m_options.programFolder, m_settings, reloadPort()))
            throw std::system_error(errno, std::generic_category(), "Cannot write quorvane.ini");
    });
}

void Engine::configureFromSettings()
{
    m_log.configure(m_settings.LOGDETAIL, m_settings.LOGINONLY, m_settings.WRITELOG, m_settings.LOGMAXSIZE);
    m_flood.configure(m_settings.BOMBLEVEL, m_settings.LOGBLOCK, m_settings.NOBLOCK);
    m_store.configure({m_settings.HOSTS, m_settings.HOSTSTTL, m_settings.CACHETTL, m_settings.AAAARECORDS,
                       m_settings.MORERECORDTYPES, static_cast<size_t>(m_settings.CACHESIZE) << 20});
    m_dns.configure({m_settings.DNSRECURSION, m_settings.AUTOCNAME, m_localAddresses, m_settings.RECURSIONOUT,
                     m_settings.NS, m_settings.SPOOFSECURE, m_settings.AAAARECORDS, m_settings.EDNS,
                     m_settings.TCPQUERIES, m_settings.QUERYHARDENING, m_settings.MORERECORDTYPES,
                     m_settings.LOCALNAMES, m_settings.NAME, m_settings.FORWARD, m_settings.NSTLS});
    m_dns.answerer().configureFilter({blockAnswerOf(m_settings.BLOCKANSWER), m_settings.NOFILTER});
    m_outgoing.tls().setTrust(m_settings.TLSCAFILE);
}

void Engine::applyOptions(const Settings& accepted, const std::vector<std::string>& blockList)
{
    guarded("frmOptions cmdOK", [&] {
        const bool listsChanged = accepted.BLOCKLIST != m_settings.BLOCKLIST || accepted.ALLOWLIST != m_settings.ALLOWLIST;
        m_settings = accepted;
        configureFromSettings();
        if (listsChanged) loadBlockLists();
        m_flood.setBlockList(blockList);
        m_events.onCaption(mainCaption(m_settings));
        if (m_serverRunning) StartServices();
        saveSettings();
        saveBlocks();
        m_store.LoadHosts();
        sendOptions();
    });
}

void Engine::saveBlocks()
{
    guarded("modDNS SaveBlocks", [&] {
        if (!m_flood.SaveBlocks(m_options.programFolder / kBlocksFileName))
            throw std::system_error(errno, std::generic_category(), "Cannot write blocks.dat");
    });
}

void Engine::saveLeases()
{
    guarded("modDHCP SaveLeases", [&] {
        if (!m_dhcp.SaveLeases(m_options.programFolder / kLeaseFileName))
            throw std::system_error(errno, std::generic_category(), "Cannot write dhcp.dat");
    });
}

void Engine::deleteLease(const std::string& address)
{
    guarded("frmDHCPLeases DelLease", [&] {
        if (m_dhcp.deleteLease(address)) m_events.onLeases(m_dhcp.leases());
    });
}

void Engine::execute(Command command)
{
    switch (command) {
    case Command::StartStop:
        guarded("frmMain mnuStartStop", [&] { mnuStartStop(); });
        break;
    case Command::ReloadRecords:
        guarded("frmMain mnuReload", [&] {
            m_store.LoadPerm();
            loadBlockLists(); // the saved copies and list files, read again
            reloadDotCertificate();
        });
        break;
    case Command::WriteSupportFile:
        guarded("frmMain mnuDump", [&] { writeSupportFileCommand(); });
        break;
    case Command::ClearCache:
        guarded("frmMain mnuClearCache", [&] {
            m_store.clearCache();
            AddLine(0, "Cache cleared by operator");
        });
        break;
    case Command::CacheSnapshot:
        guarded("frmMain mnuViewCache", [&] { m_store.saveCache(true); });
        m_events.onCacheSnapshot();
        break;
    case Command::OpenActiveLog: m_log.setActiveLogOpen(true); break;
    case Command::CloseActiveLog:
        m_log.setActiveLogOpen(false);
        m_log.clearActiveLog();
        break;
    case Command::ClearActiveLog: m_log.clearActiveLog(); break;
    case Command::SendOptions: sendOptions(); break;
    case Command::UpdateLists: loadBlockLists(true); break;
    case Command::SendCounters:
        m_events.onCounters(m_counters.RequestsPerSecond);
        if (m_blockLists.current() != nullptr) m_events.onBlockedCounters(m_counters.BlockedPerSecond);
        break;
    }
}

void Engine::onSignal(int signal)
{
    switch (signal) {
    case SIGHUP: return execute(Command::ReloadRecords);
    case SIGUSR1: return execute(Command::StartStop);
    case SIGUSR2: return execute(Command::WriteSupportFile);
    default: return close(CloseReason::User);
    }
}

void Engine::run(const EngineCommand& command)
{
    if (const auto* plain = std::get_if<Command>(&command)) return execute(*plain);
    if (const auto* options = std::get_if<ApplyOptions>(&command))
        return applyOptions(options->settings, options->blockList);
    if (const auto* lease = std::get_if<DeleteLease>(&command)) return deleteLease(lease->address);
    close(std::get<CloseReason>(command));
}

void Engine::close(CloseReason reason)
{
    guarded("frmMain QueryUnload", [&] { AddLine(0, closeReasonLine(reason)); });
    if (m_settings.CACHERELOAD) m_store.saveCache(false);
    saveBlocks();
    saveLeases();
    guarded("frmMain Unload", [&] {
        closeDns();
        m_dnsTcp.closeAll();
        m_ZoneTS.closeAll();
        m_dhcp.closeAll();
        m_outgoing.closeAll();
        m_reloadNet.close(m_WSReload);
        m_WSReload = kNoSocket;
        m_log.flush(); // a last failure to write is reported like the others
        m_log.closeFile();
    });
    m_events.onClosed();
}

SupportData Engine::supportData() const
{
    SupportData d;
    d.localAddresses = m_localAddresses;
    d.system = readSystemInfo();
    d.now = m_clock.now();
    d.running = m_serverRunning;
    d.requestCount = m_counters.RequestCount;
    d.cacheCount = m_store.recordCount();
    d.cacheSize = cacheSizeText(m_store.cacheBytes(), m_store.cacheCap());
    d.pendingCount = m_dns.resolver().waitingCount();
    d.executable = m_options.executable;
    d.version = versionText();
    d.uptimeDays = m_startTime > 0 ? d.now - m_startTime : 0;
    d.activeLog = m_log.activeLogOpen() ? &m_log.activeLog() : nullptr;
    d.programFolder = m_options.programFolder;
    d.hostsFile = m_settings.HOSTS;
    d.blockLists = m_blockListReport;
    d.blockedCount = m_counters.BlockedCount;
    return d;
}

void Engine::ErrorReport(const std::string& label, const std::string& additional,
                         const std::optional<PendingError>& error)
{
    // The report itself must never throw: it is what every other failure ends in.
    try {
        SupportData d = supportData();
        d.error = error;
        d.label = label;
        d.additional = additional;
        const auto file = (m_options.programFolder / kSupportFileName).string();
        const bool written = writeSupportFile(d);
        if (!error) return;
        std::string text = "An error has occured in Quorvane!\n\n";
        text += "Error:" + std::to_string(error->number) + ' ' + error->description + '\n';
        if (!label.empty()) text += "Module: " + label + '\n';
        if (!written) return m_events.onErrorReport(text + '\n' + supportFileUnwritten(file), "");
        text += "\nA support file containing information about your\nsystem and configuration was created "
                "as\n\"" +
                file + "\"\n\n";
        text += std::string("Please e-mail this file to ") + kSupportAddress + " and\n";
        text += "state any other information you think may be useful.\n\n";
        text += "Review the support file with notepad now ?";
        m_events.onErrorReport(text, file);
    } catch (...) {
    }
}

// Said instead of where to find the support file when it could not be written (a full disk).
std::string Engine::supportFileUnwritten(const std::string& file)
{
    return "The support file \"" + file + "\" could not be written: " + std::strerror(errno);
}

void Engine::writeSupportFileCommand()
{
    const auto file = (m_options.programFolder / kSupportFileName).string();
    if (!writeSupportFile(supportData())) return m_events.onErrorReport(supportFileUnwritten(file), "");
    std::string text = "A support file was created as\n\"" + file + "\"\n\n";
    text += std::string("Please e-mail this file to ") + kSupportAddress + " and\n";
    text += "state your question, suggestion or problem.\n\n";
    text += "Review the support file with notepad now ?";
    m_events.onErrorReport(text, file);
}

void Engine::sendDnsTcp(SocketId connection, std::string_view message)
{
    m_dnsTcp.send(connection, message);
}

void Engine::DoTray(int state)
{
    if (state == m_trayState) return;
    m_trayState = state;
    m_trayChanged = m_clock.now();
    m_events.onTray(state);
}

SocketRoute Engine::dnsPortRoute()
{
    SocketRoute route;
    route.datagram = [this](SocketId, const Endpoint& from, std::string_view data) {
        guarded("frmMain WSDNS", [&] { receiveDns(from, data); });
    };
    route.accepted = [this](SocketId connection, const Endpoint& from) {
        guarded("ctlZT Accept", [&] { m_dnsTcp.connectionRequest(connection, from, m_serverRunning); });
    };
    route.data = [this](SocketId connection, std::string_view data) {
        guarded("ctlZT DataArrival", [&] { m_dnsTcp.DataArrival(connection, data); });
    };
    route.drained = [this](SocketId connection) {
        guarded("ctlZT ProcReq", [&] { m_dnsTcp.drained(connection); });
    };
    route.closed = [this](SocketId connection) {
        guarded("ctlZT DataArrival", [&] { m_dnsTcp.peerClosed(connection); });
    };
    return route;
}

// Connections of DNS over TLS: served as those of WSZT, their questions answered whatever
// TCPQUERIES says, since the operator set up a certificate for them.
SocketRoute Engine::dotRoute()
{
    SocketRoute route = dnsPortRoute();
    route.datagram = nullptr;
    route.accepted = [this](SocketId connection, const Endpoint& from) {
        guarded("ctlZT Accept", [&] { m_dnsTcp.connectionRequest(connection, from, m_serverRunning, true); });
    };
    return route;
}

// Answers to our queries, and the questions asked again over TCP.
SocketRoute Engine::outgoingRoute()
{
    SocketRoute route;
    route.datagram = [this](SocketId, const Endpoint& from, std::string_view data) {
        guarded("frmMain WSDNS2", [&] { receiveDns2(from, data); });
    };
    route.connected = [this](SocketId connection) { m_outgoing.tcpConnected(connection); };
    route.data = [this](SocketId connection, std::string_view data) {
        guarded("frmMain WSDNS2", [&] { m_outgoing.tcpData(connection, data); });
    };
    route.closed = [this](SocketId connection) { m_outgoing.tcpClosed(connection); };
    route.tlsFailed = [this](SocketId connection, std::string_view reason) { m_outgoing.tlsFailed(connection, reason); };
    return route;
}

// Our connection to the primary of a secondary zone.
SocketRoute Engine::secondaryRoute()
{
    SocketRoute route;
    route.connected = [this](SocketId) { guarded("ctlZTS WSConnect", [&] { m_ZoneTS.connected(); }); };
    route.data = [this](SocketId, std::string_view data) {
        guarded("ctlZTS WS-DataArrival", [&] { m_ZoneTS.DataArrival(data); });
    };
    route.closed = [this](SocketId) { guarded("ctlZTS WS-DataArrival", [&] { m_ZoneTS.peerClosed(); }); };
    return route;
}

SocketRoute Engine::reloadRoute()
{
    SocketRoute route;
    route.datagram = [this](SocketId, const Endpoint& from, std::string_view data) {
        guarded("frmMain WSReload", [&] { m_reloadPort.DataArrival(from, data); });
    };
    return route;
}

SocketRoute Engine::dhcpRoute()
{
    SocketRoute route;
    route.datagram = [this](SocketId socket, const Endpoint&, std::string_view data) {
        if (m_serverRunning) guarded("frmMain WSDHCP", [&] { m_dhcp.DataArrival(socket, data); });
    };
    return route;
}

} // namespace quorvane
