// Zone change notifications (opcode 4) over UDP, both ways: telling a zone's secondaries that it
// changed, and taking such a message from the primary of one of our secondary zones.
#pragma once

#include "net/network.h"
#include "query/dns_service.h"
#include "query/query_host.h"
#include "replication/zone_queue.h"
#include "store/record_store.h"

#include <functional>
#include <string>
#include <string_view>

namespace quorvane {

class ZoneNotifications
{
public:
    ZoneNotifications(QueryHost& host, const RecordStore& store, DnsService& dns, ZoneQueue& queue)
        : m_host(host), m_store(store), m_dns(dns), m_queue(queue)
    {
    }

    // One notification to each of the zone's secondaries, port 53, from the outgoing query socket.
    // Sent once: a secondary that misses it catches up at its own refresh time.
    void ZoneNotify(const clZone& zone);
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
    DnsService& m_dns;
    ZoneQueue& m_queue;
};

} // namespace quorvane
