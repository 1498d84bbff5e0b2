// One client's question being answered: what intake read from the query, and the state of the
// answer being built for it.
#pragma once

#include "net/network.h"

#include <cstdint>
#include <string>

namespace quorvane {

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
};

} // namespace quorvane
