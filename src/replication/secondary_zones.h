// ctlZTS: keeps our copies of zones held by other servers. It works through a queue of secondary
// zones one at a time: asks the zone's primary for its SOA over UDP, takes the whole zone over TCP
// when the primary's serial is higher, puts the new records in place of the old in one step and
// writes the zone file back; a zone whose primary stays away past its expiry time is emptied.
// One 5-second watchdog ends any step that makes no progress.
#pragma once

#include "net/clock.h"
#include "net/network.h"
#include "query/outgoing_queries.h"
#include "query/query_host.h"
#include "replication/zone_queue.h"
#include "store/record_store.h"
#include "store/zone_parser.h"
#include "wire/wire_reader.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

class ctlZTS : public ZoneQueue, public QueryOwner
{
public:
    enum State : int16_t { Idle = 0, SoaSent = 1, Connecting = 2, Receiving = 3 };
    // The watchdog's interval.
    static constexpr std::chrono::milliseconds kWatchdog{5000};
    // Records taken from one transfer at most. A zone of a small network has hundreds; this leaves
    // room for a large block list served as a zone, and stops a primary that never ends its
    // transfer before it takes all memory (a stored record costs a few hundred bytes).
    static constexpr size_t kMaxRecords = 2'000'000;

    // changed: the zone took a completed transfer, so its own secondaries are to be told. running:
    // whether the server is running (nothing is polled while it is paused).
    ctlZTS(Network& network, Clock& clock, QueryHost& host, RecordStore& store, OutgoingQueries& outgoing,
           std::function<void(const clZone&)> changed, std::function<bool()> running);
    ~ctlZTS() override;
    ctlZTS(const ctlZTS&) = delete;
    ctlZTS& operator=(const ctlZTS&) = delete;

    void Que(const std::string& zone) override;
    // An answer to our SOA query: true when it is really ours, which then goes to GotSOA.
    bool takeAnswer(const Endpoint& from, std::string_view message, bool viaTcp) override;
    // Events of our connection to the primary (Winsock).
    void connected();
    void DataArrival(std::string_view data);
    void peerClosed();
    // The services started again: zones queued while paused are worked off now.
    void resume();
    // The program ends: the connection and the watchdog stop.
    void closeAll();

    SocketId Winsock() const { return m_winsock; }
    State state() const { return m_state; }
    const std::deque<std::string>& queue() const { return m_queue; }

private:
    void ProcQ();
    void sendSoaQuery();
    void GotSOA(uint32_t serial);
    void StartZT();
    void takeMessages();
    void ProcAnswer(std::string_view message);
    void takeRecords(std::string_view message, WireReader& reader);
    void abandon();
    void askWithoutMarker(int rcode);
    void complete();
    void Timer();
    void failed();
    void ExpireZone(clZone& zone);
    void enableTimer();
    void disableTimer();
    void closeSocket();
    Bytes question(int32_t id, int type) const;
    bool fromPrimary(const Endpoint& from, std::string_view message) const;

    Network& m_network;
    Clock& m_clock;
    QueryHost& m_host;
    RecordStore& m_store;
    OutgoingQueries& m_outgoing;
    std::function<void(const clZone&)> m_changed;
    std::function<bool()> m_running;

    std::string m_zone;    // the current zone
    std::string m_primary; // its PrimaryIP, copied when the zone was taken from the queue
    State m_state = Idle;
    std::deque<std::string> m_queue; // no name twice
    Bytes m_buffer;                  // transfer bytes not yet taken as whole messages
    std::vector<ZoneRecord> m_received;
    bool m_done = false;
    size_t m_messages = 0; // messages of this transfer seen so far
    int32_t m_soaId = -1;  // the identifier of the SOA query in flight
    SocketId m_winsock = kNoSocket;
    TimerId m_timer = 0; // 0 while the watchdog is off
    // Primaries that refuse a request with the two marker bytes after its question; asked without.
    std::set<std::string> m_noMarker;
};

} // namespace quorvane
