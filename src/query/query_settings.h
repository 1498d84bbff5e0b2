// The settings and limits of the query path, shared by the answerer and the resolver.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

// A domain whose questions go to servers of their own (a company domain on a VPN's server):
// "corp.test" and the servers' dotted addresses.
struct ForwardRule {
    std::string domain; // clean, without a trailing dot
    std::vector<std::string> servers;
    bool operator==(const ForwardRule&) const = default;
};

// The rule of the longest domain that holds name (normal form, "www.corp.test."); null for none.
const ForwardRule* forwardRuleFor(const std::vector<ForwardRule>& rules, std::string_view name);

// The settings the query path reads; the engine sets them at start and when the options change.
struct QuerySettings {
    std::string recursion = "<all>"; // DNSRECURSION
    bool autoCName = false;          // AUTOCNAME
    std::vector<std::string> localAddresses;
    bool forwarding = false;             // RECURSIONOUT
    std::vector<std::string> forwarders; // NS
    bool spoofSecure = false;            // SPOOFSECURE
    bool aaaa = false;                   // AAAARECORDS: AAAA questions and additional records
    bool edns = false;                   // EDNS: OPT records and replies cut to the client's size
    bool tcpQueries = false;             // TCPQUERIES: questions over TCP; truncated answers asked again so
    bool hardening = false;              // QUERYHARDENING: random identifiers and ports, strict matching
    bool moreTypes = false;              // MORERECORDTYPES: SRV and CAA questions
    bool localNames = false;             // LOCALNAMES: private reverse names, one-label names kept here
    std::string serverDomain{};          // NAME: appended to one-label names
    std::vector<ForwardRule> forwardRules{}; // FORWARD
    // Servers asked over TLS only, by address, with the name their certificate must carry (NS ... tls).
    std::map<std::string, std::string> tlsServers{};
};

// A record is still served until 5 seconds after it expired.
inline constexpr int kServedPastExpiry = 5;

// Requests that may wait for other servers at once, sub-requests included; a new one beyond this
// gets a server failure at once. Measured on the release build, a waiting request holds about
// 650 bytes of heap, so a full list takes about 6.5 MB, and the tick's walk of it about 0.3 ms.
// That is ample for a small network (a silent forwarder holds each request for 12 s, so this
// carries over 800 new names a second) and small beside the cache.
inline constexpr size_t kMaxPending = 10000;
// Finished requests are swept from the list between ticks once there are at least this many.
inline constexpr size_t kSweepFinished = 256;
inline constexpr size_t kMaxPlainServers = 1024;
// The log line written on the tick after requests were refused for a full list.
inline constexpr const char* kPendingFullText =
    "Too many requests waiting for other servers - refused with a server failure: ";

} // namespace quorvane
