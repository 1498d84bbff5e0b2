// One question being answered: what intake read from the query, the answer being built for it, and
// the state of its resolution through other servers.
#pragma once

#include "net/clock.h"
#include "net/network.h"
#include "store/dns_record.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorvane {

// Section numbers of a message; 1 is the question.
enum Section { kAnswer = 2, kAuthority = 3, kAdditional = 4 };

// The zone of a configured forwarder, which answers for every name.
inline constexpr const char* kForwarderZone = "external";

// A name server that a request may ask.
struct clNServ {
    std::string AuthFor; // the zone it serves, "external" for a forwarder, a Forward rule's domain
    std::string IP;      // dotted address; empty until known
    std::string Name;    // its host name; empty for forwarders
    int Retry = 0;       // queries sent to it for this request
    // A configured forwarder (general or per domain): asked to recurse, believed about any name,
    // and never expected to refer.
    bool Forwarder = false;
};

struct clDNSRequest {
    // State values: new, waiting for another server, waiting for a sub-request, finished.
    static constexpr int kNew = 0, kWaiting = 1, kWaitingSub = 2, kFinished = 9;

    Endpoint client;
    SocketId TcpConnection = kNoSocket; // the client's TCP connection; none for a datagram
    int ClientEdns = -1;                // the EDNS version of the client's OPT record; -1 without one
    uint16_t ClientSize = 0;            // the reply size the client's OPT record allows
    std::string ClientIP;
    int32_t ClientPort = 0;
    int32_t QueryID = 0;
    bool RecursionDesired = false;
    std::string QName;
    int QType = 0;
    int State = kNew;

    std::string CurName; // the name being looked up; moves along aliases
    bool RecursionAllowed = false;
    bool Authoritative = false;
    int RCode = 0;
    int Steps = 0;
    // The records of the answer: the store's own while the answer is built at once; copies in
    // Kept once the request waits, since the store may change meanwhile (keepRecords).
    std::array<std::vector<const clDNSRecord*>, 3> Sections; // answer, authority, additional
    std::array<size_t, 3> KeptCount{};                       // the leading records of each that are copies
    std::vector<std::unique_ptr<clDNSRecord>> Kept;
    clDNSRecord Lease; // the record a DHCP lease answers with, built in place
    // A name of one label with LocalNames: answered from local data only, through Alias, built in
    // place, to the same label in the server's domain.
    bool LocalOnly = false;
    clDNSRecord Alias;

    // Resolution through other servers.
    std::vector<clNServ> NSAcol;    // the servers that may still be asked
    // Which configured forwarders NSAcol holds: empty for none, "external" for the general ones,
    // or a Forward rule's domain. Each list goes in once per request.
    std::string ServersFor;
    clNServ Asked;                  // the server asked last (it may have left NSAcol since)
    DateTime TimeOut = 0;           // when the wait for its answer ends
    int32_t CurOutID = 0;           // the identifier of the query sent to it
    bool SentEdns = false;          // that query carried an OPT record
    int Depth = 0;                  // 0 for a client's request; sub-requests count up
    clDNSRequest* Parent = nullptr; // the request a sub-request finds a server's address for
    // The work spent on a client's request by it and all its sub-requests; kept on the client's
    // request only.
    int SubRequests = 0;
    int QueriesSent = 0;
    bool OutOfWork = false; // the work limit stopped it (logged once)

    // Back to a new request, keeping the capacity of its strings and sections.
    void reset()
    {
        client = {};
        TcpConnection = kNoSocket;
        ClientEdns = -1;
        ClientSize = 0;
        SentEdns = false;
        ClientIP.clear();
        ClientPort = QueryID = 0;
        RecursionDesired = RecursionAllowed = Authoritative = false;
        QName.clear();
        CurName.clear();
        QType = RCode = Steps = 0;
        State = kNew;
        for (auto& records : Sections) records.clear();
        KeptCount = {};
        Kept.clear();
        NSAcol.clear();
        ServersFor.clear();
        Asked = {};
        TimeOut = 0;
        CurOutID = Depth = SubRequests = QueriesSent = 0;
        OutOfWork = false;
        LocalOnly = false;
        Parent = nullptr;
    }

    std::vector<const clDNSRecord*>& section(Section s) { return Sections[static_cast<size_t>(s - kAnswer)]; }
    const std::vector<const clDNSRecord*>& section(Section s) const
    {
        return Sections[static_cast<size_t>(s - kAnswer)];
    }
    // Before the request waits for another server: every record it refers to becomes its own copy.
    void keepRecords()
    {
        for (size_t s = 0; s < Sections.size(); ++s) {
            for (size_t i = KeptCount[s]; i < Sections[s].size(); ++i)
                Sections[s][i] = Kept.emplace_back(std::make_unique<clDNSRecord>(*Sections[s][i])).get();
            KeptCount[s] = Sections[s].size();
        }
    }
};

} // namespace quorvane
