// Zone change notifications (opcode 4) over UDP, both ways: telling a zone's secondaries that it
// changed, and taking such a message from the primary of one of our secondary zones.
#pragma once

#include "net/network.h"
#include "query/outgoing_queries.h"
#include "query/query_host.h"
#include "query/request_counters.h"
#include "replication/zone_queue.h"
#include "store/record_store.h"

#include <functional>
#include <string>
#include <string_view>

namespace quorvane {

class ZoneNotifications : public QueryOwner
{
public:
    ZoneNotifications(QueryHost& host, const RecordStore& store, RequestCounters& counters,
                      OutgoingQueries& outgoing, ZoneQueue& queue)
        : m_host(host), m_store(store), m_counters(counters), m_outgoing(outgoing), m_queue(queue)
    {
    }

    // One notification to each of the zone's secondaries, port 53, from the outgoing query sockets.
    // Sent once: a secondary that misses it catches up at its own refresh time.
    void ZoneNotify(const clZone& zone);
    // A secondary's acknowledgement of one of our notifications: taken, nothing more to do.
    bool takeAnswer(const Endpoint& from, std::string_view message, bool viaTcp) override;
    // A notification that arrived on the DNS port (already counted as a request).
    void ProcNotify(const Endpoint& from, std::string_view message);
    // A notification that arrived over TCP, as some primaries send them: taken as over UDP when it
    // comes from the primary of one of our secondary zones, the acknowledgement going to reply.
    // False for any other, which the TCP service then answers as it answers other opcodes.
    using Reply = std::function<void(std::string_view message)>;
    bool ProcNotifyTcp(const std::string& sender, std::string_view message, const Reply& reply);

private:
    bool acknowledge(const std::string& sender, const std::string& zone, std::string_view message,
                     const Reply& reply);
    void reply(const Endpoint& to, std::string_view request, int rcode);

    QueryHost& m_host;
    const RecordStore& m_store;
    RequestCounters& m_counters;
    OutgoingQueries& m_outgoing;
    ZoneQueue& m_queue;
};

} // namespace quorvane
