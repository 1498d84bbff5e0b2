// The DNS query path: intake of query datagrams, the pending requests and the request and
// reply counters. Never touches a socket itself: replies go out through QueryHost.
#pragma once

#include "net/clock.h"
#include "query/dns_request.h"
#include "query/query_host.h"

#include <array>
#include <cstdint>
#include <list>
#include <string_view>

namespace quorvane {

class DnsService {
public:
    DnsService(QueryHost& host, const Clock& clock);

    // One query datagram (QR clear) from a client that passed the flood check.
    void ProcReq(const Endpoint& from, std::string_view message);
    // Forgets every request still being answered (pausing the server); their clients get no answer.
    void clearPending() { PendingRequests.clear(); }

    std::list<clDNSRequest> PendingRequests;
    // Counted as 64-bit so that a long-running server never wraps.
    uint64_t RequestCount = 0;
    uint64_t ReplyCount = 0;
    // Requests per second of the current minute, indexed by the second (0-59).
    std::array<uint16_t, 60> RequestsPerSecond{};

private:
    void countRequest();
    void notImplemented(const Endpoint& from, std::string_view message, const std::string& ip,
                        const std::string& subject);

    QueryHost& m_host;
    const Clock& m_clock;
};

} // namespace quorvane
