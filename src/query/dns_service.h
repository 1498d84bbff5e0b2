// The DNS query path as the engine and the tests hold it: the answerer (intake, local answers,
// replies) and the resolver (other servers, pending requests), wired to each other. Never touches
// a socket itself: replies go out through QueryHost, queries to other servers through
// OutgoingQueries, whose answers come back to the resolver.
#pragma once

#include "query/answerer.h"
#include "query/resolver.h"

namespace quorvane {

class DnsService {
public:
    DnsService(QueryHost& host, const Clock& clock, RecordStore& store, RequestCounters& counters,
               OutgoingQueries& outgoing)
        : m_resolver(host, clock, store, counters, outgoing, m_answerer),
          m_answerer(host, clock, store, counters, m_resolver)
    {
    }
    DnsService(const DnsService&) = delete;
    DnsService& operator=(const DnsService&) = delete;

    void configure(const QuerySettings& settings)
    {
        m_answerer.configure(settings);
        m_resolver.configure(settings);
    }
    Answerer& answerer() { return m_answerer; }
    Resolver& resolver() { return m_resolver; }
    const Resolver& resolver() const { return m_resolver; }

    // Shortcuts to the entry points of the two.
    void ProcReq(const Endpoint& from, std::string_view message, SocketId tcp = kNoSocket)
    {
        m_answerer.ProcReq(from, message, tcp);
    }
    void ProcAns(const Endpoint& from, std::string_view message, bool viaTcp = false)
    {
        m_resolver.ProcAns(from, message, viaTcp);
    }
    void setLeases(const LeaseLookup* leases) { m_answerer.setLeases(leases); }
    void setNotifyHandler(Answerer::NotifyHandler handler) { m_answerer.setNotifyHandler(std::move(handler)); }
    void clearPending() { m_resolver.clearPending(); }
    void removeFinished() { m_resolver.removeFinished(); }
    void retryWaiting() { m_resolver.retryWaiting(); }

private:
    Resolver m_resolver;
    Answerer m_answerer;
};

} // namespace quorvane
