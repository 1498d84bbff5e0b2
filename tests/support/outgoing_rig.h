// The outgoing side of the query path for tests: OutgoingQueries over a fake network, and the
// request counters the engine would own. What was asked of other servers is read back from the
// fake network.
#pragma once

#include "query/outgoing_queries.h"
#include "query/request_counters.h"
#include "support/fake_network.h"

#include <vector>

namespace quorvane::test {

struct OutgoingRig
{
    struct Query
    {
        Endpoint to;
        Bytes message;
    };

    explicit OutgoingRig(bool hardened = false) { outgoing.open(hardened); }

    // The datagrams sent to other servers, in order.
    std::vector<Query> queries() const
    {
        std::vector<Query> out;
        for (const auto& sent : network.sent)
            out.push_back({sent.to, sent.data});
        return out;
    }

    FakeNetwork network;
    RequestCounters counters;
    OutgoingQueries outgoing{network};
};

} // namespace quorvane::test
