// Resolution through other servers: which servers a request asks, in what order and how long it
// waits for each, sub-requests for servers whose address is not known yet, and giving up.
#include "query/answerer.h"
#include "query/resolver.h"
#include "wire/message.h"
#include "query/edns.h"

#include "wire/addresses.h"
#include "wire/dns_codes.h"
#include "wire/names.h"
#include "wire/numbers.h"
#include "wire/type_names.h"

#include <algorithm>

namespace quorvane {

namespace {

constexpr int kTriesPerServer = 5;
constexpr int kMaxSubDepth = 9; // a request of this depth or less may start a sub-request
// The work that one client's question may cost, counted over all its sub-requests. Enough for
// long alias chains through glueless delegations; a delegation graph that needs more is broken
// or hostile, and every query beyond this would go to its servers.
constexpr int kMaxSubRequests = 32;
constexpr int kMaxQueries = 64;
// The timer ticks once a second and waits are set on ticks: a wait that ends within a tenth of a
// second of a tick counts as over, or a one-second wait would end just after the next tick and
// last two.
constexpr double kTickSlackDays = 0.1 / kSecondsPerDay;

double waitSeconds(size_t servers)
{
    return servers == 1 ? 2.0 : servers == 2 ? 1.0 : 0.75;
}

// The server with the fewest queries so far, the first in list order on a tie; among those that
// match only. npos when none matches.
template <typename Match> size_t fewestTries(const std::vector<clNServ>& servers, Match match)
{
    size_t chosen = std::string::npos;
    for (size_t i = 0; i < servers.size(); ++i)
        if (match(servers[i]) && (chosen == std::string::npos || servers[i].Retry < servers[chosen].Retry)) chosen = i;
    return chosen;
}

// The client's request at the top of a tree of sub-requests.
clDNSRequest& clientOf(clDNSRequest& request)
{
    clDNSRequest* top = &request;
    while (top->Parent != nullptr) top = top->Parent;
    return *top;
}

// Whether the request or one of its ancestors is looking this name up already: a sub-request for
// it would end up waiting for itself.
bool beingResolved(const clDNSRequest& request, const std::string& name)
{
    for (const clDNSRequest* r = &request; r != nullptr; r = r->Parent)
        if (r->CurName == name) return true;
    return false;
}

} // namespace

Resolver::Resolver(QueryHost& host, const Clock& clock, RecordStore& store, RequestCounters& counters,
                   OutgoingQueries& outgoing, Answerer& answerer)
    : m_host(host), m_clock(clock), m_store(store), m_counters(counters), m_outgoing(outgoing), m_answerer(answerer)
{
    m_outgoing.setUnclaimed(this);
}

Resolver::~Resolver()
{
    m_outgoing.setUnclaimed(nullptr);
}

void Resolver::clearPending()
{
    for (const auto& [id, request] : m_byOutID) m_outgoing.forget(id, *this);
    PendingRequests.clear();
    m_byOutID.clear();
    m_finished = 0;
}

void Resolver::runSteps()
{
    if (m_steps.empty()) return; // the common case: answered from local data
    // A step left behind by an exception would point at a request that a later tick may remove.
    struct ClearOnExit {
        std::deque<Step>& steps;
        ~ClearOnExit() { steps.clear(); }
    } clearOnExit{m_steps};
    while (!m_steps.empty()) {
        const Step step = m_steps.front();
        m_steps.pop_front();
        if (step.kind == Step::Start) m_answerer.Check(*step.request);
        else AskNS(*step.request);
    }
}

// A request that has to wait lives in PendingRequests; intake's reused request moves there, unless
// the list is full.
clDNSRequest* Resolver::adopt(clDNSRequest& request)
{
    if (!m_answerer.isIntake(request)) return &request;
    if (waitingCount() >= kMaxPending) {
        refuse(request);
        return nullptr;
    }
    request.keepRecords(); // before the move, while request.Lease is still where they point
    PendingRequests.push_back(std::move(request));
    return &PendingRequests.back();
}

void Resolver::resolve(clDNSRequest& request)
{
    clDNSRequest* adopted = adopt(request);
    if (adopted == nullptr) return;
    chooseServers(*adopted);
    AskNS(*adopted);
}

// A name under a Forward rule goes to that rule's servers, the longest domain winning; any other
// name to the general forwarders, or from the root down. Each forwarders' list is put in once per
// request: a forwarder that failed it or was tried five times stays out, also when an alias sends
// the request on to another name under the same rule.
void Resolver::chooseServers(clDNSRequest& request)
{
    const ForwardRule* rule = forwardRuleFor(m_settings.forwardRules, request.CurName);
    if (rule == nullptr && !m_settings.forwarding) {
        if (!request.ServersFor.empty()) request.NSAcol.clear(); // an alias led out of a Forward domain
        request.ServersFor.clear();
        return CheckNewNS(request);
    }
    const std::string list = rule != nullptr ? rule->domain + '.' : kForwarderZone;
    if (request.ServersFor == list) return;
    request.ServersFor = list;
    request.NSAcol.clear();
    for (const auto& address : rule != nullptr ? rule->servers : m_settings.forwarders)
        request.NSAcol.push_back({list, address, "", 0, true});
}

// The closest enclosing zone whose name servers are known here (delegations in our zones, learned
// records, the root servers): from the name itself up to the root, the first name with live NS
// records. A list that already serves that zone is kept, with the tries counted against its
// servers and without those that dropped out; otherwise the zone's servers replace it.
void Resolver::CheckNewNS(clDNSRequest& request)
{
    const DateTime now = m_clock.now();
    auto liveNS = [&](const clDNSRecord& r) { return r.RecType == rtype::NS && r.TTL(now) > -kServedPastExpiry; };
    std::string_view zone = request.CurName;
    for (;;) {
        const auto run = m_store.records(zone);
        if (std::any_of(run.begin(), run.end(), [&](const auto& entry) { return liveNS(entry.second); })) break;
        if (zone == ".") {
            request.NSAcol.clear(); // not even the root servers are known
            return;
        }
        zone = parentName(zone);
    }
    if (!request.NSAcol.empty() && request.NSAcol.front().AuthFor == zone) return;
    request.NSAcol.clear();
    for (const auto& [name, record] : m_store.records(zone))
        if (liveNS(record)) request.NSAcol.push_back({std::string(zone), "", record.Data, 0});
}

// The server's address from the live A records of its host name. Of several addresses the first
// in store order that is not this machine's own is taken, and kept: the tries are counted per
// server, so its retries go to that same address.
bool Resolver::FillNSIP(clNServ& server)
{
    if (!server.IP.empty()) return true;
    const DateTime now = m_clock.now();
    for (const auto& [name, record] : m_store.records(server.Name)) {
        if (record.RecType != rtype::A || record.TTL(now) <= -kServedPastExpiry) continue;
        std::string address = DataToIP(record.Data);
        if (isOwnAddress(address)) continue;
        server.IP = std::move(address);
        return true;
    }
    return false;
}

// Whether a server stays in the list. A server at this machine's own address is dropped: the
// server never queries itself. A server without a known address stays while a sub-request may
// still find one, and is dropped when local data already says there is none: its name does not
// exist, has no A records, or has only this machine's addresses.
bool Resolver::keepServer(clNServ& server)
{
    if (FillNSIP(server)) return !isOwnAddress(server.IP);
    const DateTime now = m_clock.now();
    for (const auto& [name, record] : m_store.records(server.Name)) {
        if (record.TTL(now) <= -kServedPastExpiry) continue;
        if (record.RecType == rtype::A || record.RecType == rtype::kNameMarker ||
            record.RecType == rtype::kMarkerBase + rtype::A)
            return false;
    }
    return true;
}

// 0.0.0.0 counts too: sent to, it reaches this machine.
bool Resolver::isOwnAddress(const std::string& address) const
{
    if (address == "127.0.0.1" || address == "0.0.0.0") return true;
    const auto& own = m_settings.localAddresses;
    return std::find(own.begin(), own.end(), address) != own.end();
}

void Resolver::AskNS(clDNSRequest& request)
{
    auto& servers = request.NSAcol;
    // A server whose name this request or an ancestor is resolving cannot be found by a
    // sub-request: it leaves the list as if one had found nothing.
    std::erase_if(servers, [&](clNServ& server) {
        return !keepServer(server) || (server.IP.empty() && beingResolved(request, server.Name));
    });
    if (servers.empty()) return giveUp(request);

    size_t chosen = fewestTries(servers, [](const clNServ&) { return true; });
    if (servers[chosen].IP.empty()) {
        const size_t withAddress = fewestTries(servers, [](const clNServ& s) { return !s.IP.empty(); });
        if (withAddress == std::string::npos) return askForAddress(request, servers[chosen].Name);
        chosen = withAddress;
    }

    clDNSRequest& client = clientOf(request);
    if (client.QueriesSent >= kMaxQueries) return outOfWork(request, client);
    ++client.QueriesSent;
    const size_t listed = servers.size();
    ++servers[chosen].Retry;
    request.Asked = servers[chosen];
    if (request.Asked.Retry >= kTriesPerServer) servers.erase(servers.begin() + static_cast<long>(chosen));
    request.State = clDNSRequest::kWaiting;
    request.keepRecords();
    request.TimeOut = m_clock.now() + waitSeconds(listed) / kSecondsPerDay;
    sendQuery(request);
}

// No server of the list has a known address: a sub-request looks up the address of one.
// Checked on the next step, not here, so that no chain of sub-requests nests calls.
void Resolver::askForAddress(clDNSRequest& request, const std::string& serverName)
{
    if (request.Depth > kMaxSubDepth) return giveUp(request);
    clDNSRequest& client = clientOf(request);
    if (client.SubRequests >= kMaxSubRequests) return outOfWork(request, client);
    if (waitingCount() >= kMaxPending) {
        ++m_refused;
        return giveUp(request);
    }
    ++client.SubRequests;
    request.State = clDNSRequest::kWaitingSub;
    request.keepRecords();
    clDNSRequest& sub = PendingRequests.emplace_back();
    sub.Depth = request.Depth + 1;
    sub.Parent = &request;
    sub.QType = rtype::A;
    sub.QName = sub.CurName = serverName;
    sub.RecursionDesired = true;
    m_steps.push_back({&sub, Step::Start});
}

// A sub-request has finished. Its answer's first address, if any, becomes the server's address;
// a server whose address could not be found leaves the list. The parent then asks again, on the
// next step.
void Resolver::ReturnSub(clDNSRequest& sub, bool found)
{
    clDNSRequest* parent = sub.Parent;
    sub.Parent = nullptr;
    if (parent == nullptr || parent->State != clDNSRequest::kWaitingSub) return;
    std::string address;
    if (found) {
        for (const clDNSRecord* record : sub.section(kAnswer)) {
            if (record->RecType != rtype::A) continue;
            address = DataToIP(record->Data);
            break;
        }
    }
    auto& servers = parent->NSAcol;
    for (auto& server : servers)
        if (server.Name == sub.QName && server.IP.empty()) server.IP = address;
    std::erase_if(servers, [&](const clNServ& s) { return s.Name == sub.QName && s.IP.empty(); });
    m_steps.push_back({parent, Step::Resume});
}

// The question to the server in request.Asked, under a new identifier. With EDNS it carries OPT,
// unless that server answered a format error to one before.
void Resolver::sendQuery(clDNSRequest& request)
{
    forgetOutID(request);
    request.CurOutID = m_outgoing.newQuery(*this);
    m_byOutID[request.CurOutID] = &request;
    const clNServ& server = request.Asked;
    request.SentEdns = m_settings.edns && !m_plainServers.contains(server.IP);
    buildQuery(request, request.SentEdns);
    if (m_host.wants(2))
        m_host.AddLine(2, "Sending request to " + server.IP + " (" + server.AuthFor + ") for " + RTypeN(request.QType) +
                              "-record for " + request.CurName);
    const auto tls = m_settings.tlsServers.find(server.IP);
    if (tls == m_settings.tlsServers.end()) m_outgoing.send({addressValue(server.IP), kDnsPort}, m_query);
    else m_outgoing.sendTls({addressValue(server.IP), TlsForwarders::kPort}, tls->second, m_query);
    m_host.DoTray(1);
}

// Hardened, an answer counts only when it comes from the address and port the question went to.
bool Resolver::answeredByAsked(const clDNSRequest& request, const Endpoint& from) const
{
    const uint16_t port = m_settings.tlsServers.contains(request.Asked.IP) ? TlsForwarders::kPort : kDnsPort;
    return !m_settings.hardening || (from.address == addressValue(request.Asked.IP) && from.port == port);
}

void Resolver::buildQuery(const clDNSRequest& request, bool edns)
{
    const unsigned flags = request.Asked.Forwarder ? 0x100 : 0; // forwarders are asked to recurse
    startMessage(m_query, request.CurOutID, flags, {1, 0, 0, edns ? 1u : 0u});
    appendQuestion(m_query, request.CurName, request.QType);
    if (edns) appendOpt(m_query, 0);
}

void Resolver::removeFinished()
{
    PendingRequests.remove_if([&](const clDNSRequest& request) {
        if (request.State != clDNSRequest::kFinished) return false;
        forgetOutID(request);
        return true;
    });
    m_finished = 0;
}

void Resolver::markFinished(clDNSRequest& request)
{
    if (request.State != clDNSRequest::kFinished && !m_answerer.isIntake(request)) ++m_finished;
    request.State = clDNSRequest::kFinished;
}

void Resolver::settle()
{
    runSteps();
    // Swept once they are half the list (and not just a few): the walk costs at most two steps per
    // request removed, and the list stays about twice what waits, not the cap's worth of answered
    // requests (a flood at full speed had 10 000 of them, 11 MB, held at all times).
    if (m_finished >= std::max(kSweepFinished, PendingRequests.size() / 2)) removeFinished();
}

void Resolver::retryWaiting()
{
    const DateTime due = m_clock.now() + kTickSlackDays;
    if (m_refused > 0 && m_host.wants(0)) m_host.AddLine(0, kPendingFullText + std::to_string(m_refused));
    m_refused = 0;
    // AskNS may add sub-requests at the end of the list while it is walked; a std::list allows it.
    for (auto& request : PendingRequests) {
        if (request.State != clDNSRequest::kWaiting || request.TimeOut >= due) continue;
        AskNS(request);
        runSteps();
    }
}

// No server is left to ask. A client gets a server failure, noted in the day's fail log; a
// sub-request tells its parent.
void Resolver::giveUp(clDNSRequest& request)
{
    markFinished(request);
    if (request.Depth > 0) return ReturnSub(request, false);
    WriteFailLog(request);
    ++m_counters.ReplyCount;
    request.RCode = kRcodeServerFailure;
    m_answerer.SendAnswer(request);
}

// The client's question has cost all the work it may: this request gives up, and with it, one
// step at a time, every request above it, since each of them would need more work to go on.
void Resolver::outOfWork(clDNSRequest& request, clDNSRequest& client)
{
    if (!client.OutOfWork && m_host.wants(0))
        m_host.AddLine(0, "Work limit reached for " + RTypeN(client.QType) + "-record for " + client.QName + " (" +
                              std::to_string(client.SubRequests) + " sub-requests, " +
                              std::to_string(client.QueriesSent) + " queries sent)");
    client.OutOfWork = true;
    giveUp(request);
}

// Too many requests wait already: the client gets a server failure at once, counted for the
// tick's log line.
void Resolver::refuse(clDNSRequest& request)
{
    ++m_refused;
    ++m_counters.ReplyCount;
    request.RCode = kRcodeServerFailure;
    m_answerer.SendAnswer(request);
}

void Resolver::WriteFailLog(const clDNSRequest& request)
{
    const std::string now = timeOfDayText(m_clock.now());
    m_host.appendDailyLog("fail.log", now + "   DNS Request from " + request.ClientIP + " about " +
                                          RTypeN(request.QType) + "-record for " + request.QName + ":\r\n" + now +
                                          "   -> Authoritative DNS servers did not respond - or did not return "
                                          "any records.\r\n");
}

} // namespace quorvane
