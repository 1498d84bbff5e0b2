// One client's question being answered: what intake read from the query, and the answer being
// built for it.
#pragma once

#include "net/network.h"
#include "store/dns_record.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace quorvane {

// Section numbers of a message; 1 is the question.
enum Section { kAnswer = 2, kAuthority = 3, kAdditional = 4 };

struct clDNSRequest {
    // State values: new, waiting for another server, waiting for a sub-request, finished.
    static constexpr int kNew = 0, kWaiting = 1, kWaitingSub = 2, kFinished = 9;

    Endpoint client;
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
    // Copies of the records, so that an answer never refers into a store that changes meanwhile.
    std::array<std::vector<clDNSRecord>, 3> Sections; // answer, authority, additional

    // Back to a new request, keeping the capacity of its strings and sections.
    void reset()
    {
        client = {};
        ClientIP.clear();
        ClientPort = QueryID = 0;
        RecursionDesired = RecursionAllowed = Authoritative = false;
        QName.clear();
        CurName.clear();
        QType = RCode = Steps = 0;
        State = kNew;
        for (auto& records : Sections) records.clear();
    }

    std::vector<clDNSRecord>& section(Section s) { return Sections[static_cast<size_t>(s - kAnswer)]; }
    const std::vector<clDNSRecord>& section(Section s) const { return Sections[static_cast<size_t>(s - kAnswer)]; }
};

} // namespace quorvane
