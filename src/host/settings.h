// The configuration globals of the server with their defaults. Reading and writing quorvane.ini
// fill and save this struct; until a file is read, every field holds its default.
#pragma once

#include "dhcp/dhcp_interface.h"
#include "query/query_settings.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace quorvane {

struct Settings {
    std::string NAME;                     // domain name of this DNS server
    bool STARTMINI = false;               // start hidden in the notification area
    std::string HOSTS;                    // hosts file path; empty: no hosts file
    int32_t HOSTSTTL = 3600;              // TTL of hosts-file records, seconds
    std::string DNSBIND;                  // address the DNS sockets bind to; empty: all
    std::string DNSRECURSION = "<all>";   // clients offered recursion
    bool AUTOCNAME = false;
    bool WRITELOG = false;                // write the daily log file
    bool LOGDETAIL = true;                // log record details (levels 1 and 3)
    bool LOGINONLY = false;               // drop outgoing traffic (levels 2 and 3)
    bool LOGBLOCK = true;
    int32_t CACHETTL = 0;
    bool CACHERELOAD = false;             // save the cache at exit and load it at start
    bool SPOOFSECURE = false;
    int32_t CHECKNEW = 0;
    bool RECURSIONOUT = false;
    std::vector<std::string> NS;
    uint16_t BOMBLEVEL = 0;
    std::vector<std::string> NOBLOCK;
    std::vector<clDHCPif> DHCP;           // enabled interfaces, in file order

    // Additions for today's clients, each off by default.
    bool AAAARECORDS = false;             // IPv6 address records (type 28) from end to end
    bool EDNS = false;                    // OPT records, larger replies, truncation at the client's size
    bool TCPQUERIES = false;              // ordinary questions over TCP 53
    bool QUERYHARDENING = false;          // random identifiers and source ports for outgoing queries
    bool MORERECORDTYPES = false;         // SRV and CAA records from end to end

    // Home and office networks.
    bool LOCALNAMES = false;              // private reverse names and one-label names answered here only
    bool DHCPFIXEDNAMES = false;          // reserved names answer DNS also while their machine is off
    std::vector<DhcpFixed> DHCPFIXED;     // fixed DHCP addresses, in file order
    std::vector<DhcpOptionLine> DHCPOPTION; // options added to an interface's replies, in file order
    std::vector<ForwardRule> FORWARD;     // domains asked of servers of their own, in file order

    // Block lists: without a BLOCKLIST line nothing is filtered.
    std::vector<std::string> BLOCKLIST;   // list files (case kept) or http:// and https:// addresses
    std::vector<std::string> ALLOWLIST;   // names never blocked, with their subdomains
    std::string BLOCKANSWER = "ZERO";     // ZERO, NXDOMAIN or REFUSED
    int32_t BLOCKLISTUPDATE = 24;         // hours between fetches of the lists at addresses
    std::vector<std::string> NOFILTER;    // clients never filtered

    std::string USER;                     // started as root: the user to switch to once bound; empty: stay

    // TLS: forwarders asked over TLS (address -> the name their certificate must carry; each address
    // is also in NS), the authorities their certificates must chain to (empty: the system's), and
    // the certificate and key of DNS over TLS served on port 853.
    std::map<std::string, std::string> NSTLS;
    std::string TLSCAFILE;
    std::string TLSCERTFILE;
    std::string TLSKEYFILE;

    // Bounds under a flood.
    int32_t CACHESIZE = 32;               // MB of learned records; the closest to expiry go first
    int32_t LOGMAXSIZE = 100;             // MB of the day's log file, after which it stops until the next day

    bool operator==(const Settings&) const = default;
};

} // namespace quorvane
