// The resolver: questions the answerer cannot answer from local data, asked of the forwarders or
// from the root down through referrals, with sub-requests for name servers without glue. It owns
// the pending requests and their waits, and takes the answers of other servers through
// OutgoingQueries (answers nobody else waits for come here too, and are logged as ignored).
#pragma once

#include "net/clock.h"
#include "query/dns_request.h"
#include "query/outgoing_queries.h"
#include "query/query_host.h"
#include "query/query_settings.h"
#include "query/request_counters.h"
#include "store/record_store.h"

#include <cstdint>
#include <deque>
#include <list>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace quorvane {

class Answerer;

class Resolver : public QueryOwner {
public:
    Resolver(QueryHost& host, const Clock& clock, RecordStore& store, RequestCounters& counters,
             OutgoingQueries& outgoing, Answerer& answerer);
    ~Resolver() override;
    Resolver(const Resolver&) = delete;
    Resolver& operator=(const Resolver&) = delete;
    void configure(const QuerySettings& settings) { m_settings = settings; }

    // One answer (QR set) from another server: a datagram, or the message of a TCP connection that
    // asked again after a truncated answer.
    void ProcAns(const Endpoint& from, std::string_view message, bool viaTcp = false);
    bool takeAnswer(const Endpoint& from, std::string_view message, bool viaTcp) override
    {
        ProcAns(from, message, viaTcp);
        return true;
    }
    // Forgets every request still being answered (pausing the server); their clients get no answer.
    void clearPending();
    // The timer's first duty: finished requests leave the list.
    void removeFinished();
    // A request's work is over (answered, failed or dropped): from now on it no longer counts
    // against the cap on waiting requests, though it stays in the list until a safe moment.
    void markFinished(clDNSRequest& request);
    // The timer's second duty: requests whose wait for a server is over ask the next one. Also
    // logs how many requests were refused since the last tick because too many were waiting.
    void retryWaiting();

    // For the answerer: a request that needs other servers, and a sub-request that has finished.
    void resolve(clDNSRequest& request);
    void ReturnSub(clDNSRequest& sub, bool found);
    // Runs the steps that the last entry point left (sub-requests to check, parents to resume).
    void runSteps();
    // The end of an entry point (a question or an answer): runs its steps, then, when finished
    // requests make up half the list, removes them at once, so that the list stays small under a
    // flood. Nothing refers to a finished request here.
    void settle();
    // Requests still waiting for their answer: the ones that count against the cap.
    size_t waitingCount() const { return PendingRequests.size() - m_finished; }

    std::list<clDNSRequest> PendingRequests;

private:
    // Sends the question to the next server of the request's list, or gives up.
    void AskNS(clDNSRequest& request);
    // A step of resolution that waits until the current one has returned: a new sub-request to
    // check, or a parent whose sub-request has finished to go on asking. Each entry point drains
    // them in one loop, so a chain of sub-requests never nests calls, however deep it goes.
    struct Step {
        clDNSRequest* request;
        enum Kind { Start, Resume } kind;
    };
    void giveUp(clDNSRequest& request);
    void outOfWork(clDNSRequest& request, clDNSRequest& client);
    void refuse(clDNSRequest& request);
    void WriteFailLog(const clDNSRequest& request);
    clDNSRequest* adopt(clDNSRequest& request);
    void chooseServers(clDNSRequest& request);
    void CheckNewNS(clDNSRequest& request);
    bool FillNSIP(clNServ& server);
    bool keepServer(clNServ& server);
    bool isOwnAddress(const std::string& address) const;
    void askForAddress(clDNSRequest& request, const std::string& serverName);
    void sendQuery(clDNSRequest& request);
    void buildQuery(const clDNSRequest& request, bool edns);
    void readAnswer(const Endpoint& from, std::string_view message, bool viaTcp);
    bool answeredByAsked(const clDNSRequest& request, const Endpoint& from) const;
    clDNSRequest* findWaiting(int32_t id, std::string_view name, int type);
    void forgetOutID(const clDNSRequest& request);
    void dropAsked(clDNSRequest& request);

    QueryHost& m_host;
    const Clock& m_clock;
    RecordStore& m_store;
    RequestCounters& m_counters;
    OutgoingQueries& m_outgoing;
    Answerer& m_answerer;
    QuerySettings m_settings;
    Bytes m_query; // the query to another server being built
    std::deque<Step> m_steps;
    // The request that sent each outgoing identifier, so that an answer finds it without a walk of
    // the list; one entry per request, dropped when it asks again or leaves the list.
    std::unordered_map<int32_t, clDNSRequest*> m_byOutID;
    size_t m_finished = 0; // finished requests still in the list
    uint64_t m_refused = 0; // requests refused since the last tick because the list was full
    // Servers that answered a query with OPT by a format error: asked without it from then on. At
    // most kMaxPlainServers; when full it starts again empty.
    std::unordered_set<std::string> m_plainServers;
};

} // namespace quorvane
