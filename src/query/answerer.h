// The answerer: intake of client queries, answers from local data (own zones, the hosts file,
// DHCP leases, the cache) and the replies. A question it cannot answer here goes to the resolver,
// which calls Check again as answers from other servers arrive. A local answer refers to the
// store's records and allocates nothing; copies are made only when a request has to wait.
#pragma once

#include "net/clock.h"
#include "query/dns_request.h"
#include "query/edns.h"
#include "query/lease_lookup.h"
#include "query/local_zones.h"
#include "query/query_host.h"
#include "query/query_settings.h"
#include "query/request_counters.h"
#include "store/record_store.h"

#include <functional>
#include <string_view>
#include <vector>

namespace quorvane {

class Resolver;

class Answerer {
public:
    Answerer(QueryHost& host, const Clock& clock, RecordStore& store, RequestCounters& counters, Resolver& resolver);
    Answerer(const Answerer&) = delete;
    Answerer& operator=(const Answerer&) = delete;
    void configure(const QuerySettings& settings) { m_settings = settings; }

    // One query (QR clear) from a client that passed the flood check: a datagram, or a message of
    // the TCP connection tcp, which the reply then goes back on.
    void ProcReq(const Endpoint& from, std::string_view message, SocketId tcp = kNoSocket);
    bool answersTcp() const { return m_settings.tcpQueries; }
    // The DHCP leases, which answer A and PTR questions for the names and addresses they hold.
    void setLeases(const LeaseLookup* leases) { m_leases = leases; }
    // Zone change notifications (opcode 4) are handed on here, after they were counted.
    using NotifyHandler = std::function<void(const Endpoint& from, std::string_view message)>;
    void setNotifyHandler(NotifyHandler handler) { m_notify = std::move(handler); }

    // For the resolver. Answers a request from local data, or finishes it when it cannot be
    // answered here; one that needs other servers goes (back) to the resolver.
    void Check(clDNSRequest& request);
    // Builds the reply for a request and sends it to the client.
    void SendAnswer(clDNSRequest& request);
    // The detail line of one record of a reply or of another server's answer.
    void logRecord(Section section, const clDNSRecord& record);
    // Whether request is intake's own, reused from query to query (and so must move to wait).
    bool isIntake(const clDNSRequest& request) const { return &request == &m_request; }

private:
    bool recursionAllowed(const std::string& client) const;
    struct Lookup {
        const clDNSRecord* zoneSoa = nullptr; // the SOA of our own zone that holds the name
        bool nameExists = false;              // the last name looked up has real records
        bool answered = false;                // the last name has records of the question's type
        bool knownAbsent = false;             // the cache says the name or the type does not exist
        bool tooLong = false;                 // the alias chain ran past the limit
    };
    Lookup lookUp(clDNSRequest& request);
    bool leaseRecord(clDNSRequest& request) const;
    void keepAtHome(clDNSRequest& request);
    bool answerAtHome(clDNSRequest& request, const Lookup& found);
    void SectionAdd(clDNSRequest& request, Section section, const clDNSRecord& record);
    void AddAuth(clDNSRequest& request);
    void AddAddl(clDNSRequest& request, std::string_view name);
    bool isAddress(const clDNSRecord& record) const;
    void CNAMERes(clDNSRequest& request);
    // The order in which a section's records are written (valid until the next call).
    const std::vector<size_t>& RoundRobin(clDNSRequest& request, Section section);
    void writeSection(clDNSRequest& request, Section section);
    void notImplemented(const Endpoint& from, SocketId tcp, std::string_view message, const std::string& ip,
                        const std::string& subject, const ClientOpt* opt = nullptr);
    void sendError(clDNSRequest& request, int rcode);
    void writeHeader(const clDNSRequest& request);
    void finishReply(const clDNSRequest& request);
    void sendReply(const Endpoint& to, SocketId tcp, std::string_view message);

    QueryHost& m_host;
    const Clock& m_clock;
    RecordStore& m_store;
    RequestCounters& m_counters;
    Resolver& m_resolver;
    QuerySettings m_settings;
    clDNSRequest m_request; // reused from query to query, so that strings and sections keep capacity
    Bytes m_reply;          // the reply being built, reused likewise
    const LeaseLookup* m_leases = nullptr;
    const LocalZones m_localZones;
    NotifyHandler m_notify;
    std::vector<size_t> m_order;
    std::vector<size_t> m_recordEnds; // where each record of the reply being built ends
    size_t m_questionEnd = 0;         // and where its question ends
};

} // namespace quorvane
