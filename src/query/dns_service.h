// The DNS query path: intake of query datagrams, answers from local data, resolution through other
// servers, the pending requests and the request and reply counters. Never touches a socket
// itself: replies and queries go out through QueryHost.
#pragma once

#include "net/clock.h"
#include "query/dns_request.h"
#include "query/edns.h"
#include "query/lease_lookup.h"
#include "query/query_host.h"
#include "query/query_id.h"
#include "store/record_store.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace quorvane {

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
};

// A record is still served until 5 seconds after it expired.
inline constexpr int kServedPastExpiry = 5;

// Requests that may wait for other servers at once, sub-requests included; a new one beyond this
// gets a server failure at once. Measured on the release build, a waiting request holds about
// 650 bytes of heap, so a full list takes about 6.5 MB, and the tick's walk of it about 0.3 ms.
// That is ample for a small network (a silent forwarder holds each request for 12 s, so this
// carries over 800 new names a second) and small beside the cache.
inline constexpr size_t kMaxPending = 10000;
inline constexpr size_t kMaxPlainServers = 1024;
// The log line written on the tick after requests were refused for a full list.
inline constexpr const char* kPendingFullText =
    "Too many requests waiting for other servers - refused with a server failure: ";

class DnsService {
public:
    DnsService(QueryHost& host, const Clock& clock, RecordStore& store);
    void configure(QuerySettings settings)
    {
        m_settings = std::move(settings);
        NextQueryID.setRandom(m_settings.hardening);
    }
    bool hardened() const { return m_settings.hardening; }

    // One query (QR clear) from a client that passed the flood check: a datagram, or a message of
    // the TCP connection tcp, which the reply then goes back on.
    void ProcReq(const Endpoint& from, std::string_view message, SocketId tcp = kNoSocket);
    bool answersTcp() const { return m_settings.tcpQueries; }
    // One answer (QR set) from another server: a datagram, or the message of a TCP connection that
    // asked again after a truncated answer.
    void ProcAns(const Endpoint& from, std::string_view message, bool viaTcp = false);
    // Answers that belong to other queries of this server (the zone checks) are offered here first,
    // by sender and identifier; the handler gives whether it took the answer.
    using AnswerHandler = std::function<bool(const Endpoint& from, int32_t id, std::string_view message)>;
    void setOtherAnswers(AnswerHandler handler) { m_otherAnswers = std::move(handler); }
    // The DHCP leases, which answer A and PTR questions for the names and addresses they hold.
    void setLeases(const LeaseLookup* leases) { m_leases = leases; }
    // Zone change notifications (opcode 4) are handed on here, after they were counted.
    using NotifyHandler = std::function<void(const Endpoint& from, std::string_view message)>;
    void setNotifyHandler(NotifyHandler handler) { m_notify = std::move(handler); }
    // Counts one request in RequestCount and in the current second's slot; the zone-transfer
    // server counts its requests here too.
    void countRequest();
    // Forgets every request still being answered (pausing the server); their clients get no answer.
    void clearPending()
    {
        PendingRequests.clear();
        m_byOutID.clear();
    }
    // The timer's first duty: finished requests leave the list.
    void removeFinished();
    // The timer's second duty: requests whose wait for a server is over ask the next one. Also
    // logs how many requests were refused since the last tick because too many were waiting.
    void retryWaiting();

    std::list<clDNSRequest> PendingRequests;
    // Counted as 64-bit so that a long-running server never wraps.
    uint64_t RequestCount = 0;
    uint64_t ReplyCount = 0;
    // Requests per second of the current minute, indexed by the second (0-59).
    std::array<uint16_t, 60> RequestsPerSecond{};
    // Identifiers of outgoing queries, shared with the zone checks and notifications.
    QueryIdCounter NextQueryID;

private:
    // Answers a request from local data, or finishes it when it cannot be answered here.
    void Check(clDNSRequest& request);
    // Builds the reply for a request and sends it to the client.
    void SendAnswer(clDNSRequest& request);
    // Sends the question to the next server of the request's list, or gives up.
    void AskNS(clDNSRequest& request);

    // A step of resolution that waits until the current one has returned: a new sub-request to
    // check, or a parent whose sub-request has finished to go on asking. Each entry point drains
    // them in one loop, so a chain of sub-requests never nests calls, however deep it goes.
    struct Step {
        clDNSRequest* request;
        enum Kind { Start, Resume } kind;
    };
    void runSteps();
    bool recursionAllowed(const std::string& client) const;
    struct Lookup {
        const clDNSRecord* zoneSoa = nullptr; // the SOA of our own zone that holds the name
        bool nameExists = false;              // the last name looked up has real records
        bool answered = false;                // the last name has records of the question's type
        bool knownAbsent = false;             // the cache says the name or the type does not exist
        bool tooLong = false;                 // the alias chain ran past the limit
    };
    Lookup lookUp(clDNSRequest& request);
    std::optional<clDNSRecord> leaseRecord(const clDNSRequest& request) const;
    void giveUp(clDNSRequest& request);
    void outOfWork(clDNSRequest& request, clDNSRequest& client);
    void refuse(clDNSRequest& request);
    void WriteFailLog(const clDNSRequest& request);
    clDNSRequest* adopt(clDNSRequest& request);
    void resolve(clDNSRequest& request);
    void CheckNewNS(clDNSRequest& request);
    bool FillNSIP(clNServ& server);
    bool keepServer(clNServ& server);
    bool isOwnAddress(const std::string& address) const;
    void askForAddress(clDNSRequest& request, const std::string& serverName);
    void ReturnSub(clDNSRequest& sub, bool found);
    int32_t newOutID();
    void sendQuery(clDNSRequest& request);
    void buildQuery(const clDNSRequest& request, bool edns);
    void takeAnswer(const Endpoint& from, std::string_view message, bool viaTcp);
    bool answeredByAsked(const clDNSRequest& request, const Endpoint& from) const;
    clDNSRequest* findWaiting(int32_t id, std::string_view name, int type);
    void forgetOutID(const clDNSRequest& request);
    void dropAsked(clDNSRequest& request);
    void SectionAdd(clDNSRequest& request, Section section, const clDNSRecord& record);
    void AddAuth(clDNSRequest& request);
    void AddAddl(clDNSRequest& request, std::string_view name);
    bool isAddress(const clDNSRecord& record) const;
    void CNAMERes(clDNSRequest& request);
    // The order in which a section's records are written (valid until the next call).
    const std::vector<size_t>& RoundRobin(clDNSRequest& request, Section section);
    void writeSection(clDNSRequest& request, Section section);
    void logRecord(Section section, const clDNSRecord& record);
    void notImplemented(const Endpoint& from, SocketId tcp, std::string_view message, const std::string& ip,
                        const std::string& subject, const ClientOpt* opt = nullptr);
    void sendError(clDNSRequest& request, int rcode);
    void writeHeader(const clDNSRequest& request);
    void finishReply(const clDNSRequest& request);
    void sendReply(const Endpoint& to, SocketId tcp, std::string_view message);

    QueryHost& m_host;
    const Clock& m_clock;
    RecordStore& m_store;
    QuerySettings m_settings;
    clDNSRequest m_request; // reused from query to query, so that strings and sections keep capacity
    Bytes m_reply;          // the reply being built, reused likewise
    Bytes m_query;          // the query to another server being built
    AnswerHandler m_otherAnswers;
    const LeaseLookup* m_leases = nullptr;
    NotifyHandler m_notify;
    std::vector<size_t> m_order;
    std::vector<size_t> m_recordEnds; // where each record of the reply being built ends
    size_t m_questionEnd = 0;         // and where its question ends
    std::deque<Step> m_steps;
    // The request that sent each outgoing identifier, so that an answer finds it without a walk of
    // the list; one entry per request, dropped when it asks again or leaves the list.
    std::unordered_map<int32_t, clDNSRequest*> m_byOutID;
    uint64_t m_refused = 0; // requests refused since the last tick because the list was full
    // Servers that answered a query with OPT by a format error: asked without it from then on. At
    // most kMaxPlainServers; when full it starts again empty.
    std::unordered_set<std::string> m_plainServers;
};

} // namespace quorvane
