// Binding, pausing and restarting the network services, and discovering the machine's addresses.
#include "host/engine.h"

namespace quorvane {

void Engine::InitWinsock()
{
    m_localAddresses = m_network.localAddresses();
}

void Engine::StartServices()
{
    guarded("modMain StartServices", [&] {
        if (!bindDns()) return;
        m_dhcp.setReservations(m_settings.DHCPFIXED, m_settings.DHCPFIXEDNAMES);
        m_dhcp.setOptions(m_settings.DHCPOPTION);
        m_dhcp.bind(m_settings.DHCP);
        bindQuerySocket();
        m_serverRunning = true;
        m_events.onServerState(true);
        m_events.onStatusText(0, "Uptime...");
        DoTray(0);
        m_ZoneTS.resume(); // zones queued while paused
    });
}

bool Engine::bindDns()
{
    closeDns(); // the options dialog restarts running services on their new address
    const std::string& address = m_settings.DNSBIND;
    m_WSDNS = m_dnsPort.bindUdp(address, kDnsPort);
    if (m_WSDNS != kNoSocket) m_WSZT = m_dnsPort.listenTcp(address, kDnsPort);
    if (m_WSZT != kNoSocket) {
        AddLine(0, address.empty() ? "DNS service started." : "DNS service started on " + address);
        bindDot();
        return true;
    }
    closeDns();
    if (address.empty()) {
        m_events.onStatusText(0, "Could not start DNS service.");
        AddLine(0, "Binding DNS service failed - DNS service not started!");
        DoTray(2);
        m_events.onMessageBox("Could not start DNS service!\nPort used by other DNS server.", MessageIcon::Warning);
    } else {
        m_events.onStatusText(0, "Could not start DNS service on " + address);
        AddLine(0, "Binding DNS service to " + address + " failed - DNS service not started!");
        DoTray(2);
        m_events.onMessageBox("Could not start DNS service on " + address, MessageIcon::Warning);
    }
    return false;
}

// The outgoing query socket: any local address, a port the system picks. Bound on the first start
// and kept, so that answers to queries sent before a pause are still recognised as such.
void Engine::bindQuerySocket()
{
    if (!m_outgoing.open(m_settings.QUERYHARDENING))
        AddLine(0, "Binding the socket for queries to other DNS servers failed!");
}

// The reload socket: this machine only, a port the system picks, published in quorvane.ini.
void Engine::bindReloadPort()
{
    if (m_WSReload != kNoSocket) return;
    m_WSReload = m_reloadNet.bindUdp("127.0.0.1", 0);
    if (m_WSReload == kNoSocket) AddLine(0, "Binding the reload port failed!");
}

void Engine::closeDns()
{
    m_dnsPort.close(m_WSDNS);
    m_dnsPort.close(m_WSZT);
    m_WSDNS = kNoSocket;
    m_WSZT = kNoSocket;
    m_dotNet.close(m_WSDoT);
    m_WSDoT = kNoSocket;
}

// DNS over TLS on TCP 853 when a certificate and key are set. One that cannot be loaded is logged
// and the rest of the server runs without it.
void Engine::bindDot()
{
    if (m_settings.TLSCERTFILE.empty() || m_settings.TLSKEYFILE.empty()) return;
    std::string error;
    m_WSDoT = m_dotNet.listenTls(m_settings.DNSBIND, kDotPort, m_settings.TLSCERTFILE, m_settings.TLSKEYFILE, error);
    AddLine(0, m_WSDoT == kNoSocket ? "DNS over TLS not started: " + error : "DNS over TLS service started.");
}

// Certificates are renewed every few weeks: the files are read again on "Reload DNS Records".
void Engine::reloadDotCertificate()
{
    if (!m_serverRunning || m_settings.TLSCERTFILE.empty() || m_settings.TLSKEYFILE.empty()) return;
    if (m_WSDoT == kNoSocket) return bindDot();
    std::string error;
    if (m_dotNet.reloadTlsCertificate(m_WSDoT, m_settings.TLSCERTFILE, m_settings.TLSKEYFILE, error))
        AddLine(0, "TLS certificate reloaded.");
    else
        AddLine(0, "TLS certificate not reloaded: " + error);
}

void Engine::mnuStartStop()
{
    if (!m_serverRunning) {
        StartServices();
        return;
    }
    m_dns.clearPending();
    closeDns();
    m_dhcp.closeAll();
    AddLine(0, "Server paused.");
    m_events.onServerState(false);
    m_events.onStatusText(0, "Paused");
    m_serverRunning = false;
}

} // namespace quorvane
