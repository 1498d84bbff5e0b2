// The queue, the SOA check, the watchdog and expiry of ctlZTS. The transfer itself is in
// transfer_in.cpp.
#include "replication/secondary_zones.h"

#include "wire/message.h"
#include "query/record_wire.h"
#include "store/record_data.h"
#include "wire/dns_codes.h"
#include "wire/names.h"
#include "wire/wire_reader.h"

#include <algorithm>
#include <exception>

namespace quorvane {

namespace {

// An expired zone is asked for again this often (seconds), until its primary answers.
constexpr int32_t kExpiredPoll = 300;

} // namespace

ctlZTS::ctlZTS(Network& network, Clock& clock, QueryHost& host, RecordStore& store, OutgoingQueries& outgoing,
               std::function<void(const clZone&)> changed, std::function<bool()> running)
    : m_network(network), m_clock(clock), m_host(host), m_store(store), m_outgoing(outgoing),
      m_changed(std::move(changed)), m_running(std::move(running))
{
}

ctlZTS::~ctlZTS()
{
    closeAll();
}

void ctlZTS::Que(const std::string& zone)
{
    if (zone == m_zone && m_state != Idle) return; // being checked right now
    if (std::find(m_queue.begin(), m_queue.end(), zone) != m_queue.end()) return;
    m_queue.push_back(zone);
    if (m_state == Idle) ProcQ();
}

void ctlZTS::resume()
{
    if (m_state == Idle) ProcQ();
}

void ctlZTS::closeAll()
{
    disableTimer();
    closeSocket();
    m_state = Idle;
}

// Takes the next zone that still exists and still has a primary, and starts its check.
void ctlZTS::ProcQ()
{
    disableTimer();
    closeSocket(); // every step that ends here has finished with its connection
    m_received.clear();
    m_received.shrink_to_fit();
    m_buffer.clear();
    // While paused nothing is sent; the queue waits for resume(). Idle, so that nothing waits on a
    // step that will never finish.
    if (!m_running()) {
        m_state = Idle;
        return;
    }
    const clZone* zone = nullptr;
    while (zone == nullptr) {
        if (m_queue.empty()) {
            m_state = Idle;
            return;
        }
        m_zone = m_queue.front();
        m_queue.pop_front();
        zone = m_store.findZone(m_zone);
        if (zone != nullptr && zone->PrimaryIP.empty()) zone = nullptr; // reloaded as a zone of ours
    }
    m_primary = zone->PrimaryIP;
    if (zone->Records.empty()) return StartZT(); // nothing to compare: take it at once
    sendSoaQuery();
}

void ctlZTS::sendSoaQuery()
{
    if (m_soaId >= 0) m_outgoing.forget(m_soaId, *this);
    m_soaId = m_outgoing.newQuery(*this);
    const Bytes query = question(m_soaId, rtype::SOA);
    m_host.AddLine(2, "Sending request to " + m_primary + " for SOA-record for " + m_zone);
    enableTimer();
    m_state = SoaSent;
    const auto to = addressFromText(m_primary);
    if (!to) return m_host.AddLine(0, "ctlZTS ProcQ WS Error: " + m_primary + " is not an IPv4 address");
    m_outgoing.send({*to, kDnsPort}, query);
}

// Hardened, an SOA answer counts only from the primary's address and port 53, for our question.
bool ctlZTS::fromPrimary(const Endpoint& from, std::string_view message) const
{
    const auto primary = addressFromText(m_primary);
    if (!primary || from.address != *primary || from.port != kDnsPort) return false;
    WireReader reader(message, 12);
    const std::string name = reader.name();
    const int type = reader.shortValue();
    return reader.ok() && shortAt(message, 4) == 1 && name == m_zone && type == rtype::SOA;
}

Bytes ctlZTS::question(int32_t id, int type) const
{
    Bytes message;
    startMessage(message, id, 0, {}); // a plain query, no recursion wanted
    appendQuestion(message, m_zone, type);
    return message;
}

// An answer that names the zone's SOA gives its serial. Our answer that holds none (a refusal, an
// error) is taken all the same and left to the watchdog, which counts it as no answer.
bool ctlZTS::takeAnswer(const Endpoint& from, std::string_view message, bool)
{
    if (m_state != SoaSent || message.size() < 12 || shortAt(message, 0) != m_soaId) return false;
    if (m_outgoing.hardened() && !fromPrimary(from, message)) return false;
    if ((byteAt(message, 3) & 15) != 0) return true;
    WireReader reader(message, 12);
    skipQuestions(reader, countAt(message, 0));
    RecordView view;
    for (int i = countAt(message, 1); i > 0 && reader.ok(); --i) {
        if (!readRecord(reader, view) || view.type != rtype::SOA || view.name != m_zone) continue;
        clDNSRecord record;
        record.RecType = static_cast<int16_t>(view.type);
        if (!readRecordData(message, view.rdata, record)) continue;
        if (const auto soa = readSoa(record.Data)) {
            try {
                GotSOA(soa->serial);
            } catch (const std::exception& e) {
                reportError("ctlZTS GotSOA", e.what());
            }
            break;
        }
    }
    return true;
}

void ctlZTS::GotSOA(uint32_t serial)
{
    disableTimer();
    clZone* zone = m_store.findZone(m_zone);
    if (zone == nullptr) return ProcQ();
    // Serials are compared as the unsigned numbers that zone files and answers carry. The expiry
    // time is left as the last good check set it, so a transfer that fails now keeps the records
    // until then.
    if (zone->Serial < serial) return StartZT();
    const DateTime now = m_clock.now();
    zone->NextRefresh = addSeconds(now, zone->RefreshIV);
    zone->Expires = addSeconds(now, zone->ExpireIV);
    ProcQ();
}

// The watchdog: the step under way made no progress for 5 seconds. Each test reads the state
// anew, so a step that the previous branch's ProcQ started is judged in the same tick.
void ctlZTS::Timer()
{
    try {
        disableTimer();
        if (m_state == Idle) return ProcQ();
        if (m_state == SoaSent) {
            failed();
            ProcQ();
        }
        if (m_state == Connecting) {
            closeSocket();
            m_host.AddLine(0, "Failed to establish Zone Transfer connection with " + m_primary + " for " +
                                  m_zone);
            failed();
            ProcQ();
        }
        if (m_state == Receiving) {
            closeSocket();
            m_host.AddLine(2, "Failed to receive Zone Transfer from " + m_primary + " for " + m_zone);
            failed();
            ProcQ();
        }
    } catch (const std::exception& e) {
        reportError("ctlZTS Timer", e.what());
    }
}

// A check that failed: the zone expires when its time is up, otherwise it is tried again after
// its retry interval.
void ctlZTS::failed()
{
    clZone* zone = m_store.findZone(m_zone);
    if (zone == nullptr) return;
    const DateTime now = m_clock.now();
    if (zone->Expires <= now) return ExpireZone(*zone);
    zone->NextRefresh = addSeconds(now, zone->RetryIV);
}

void ctlZTS::ExpireZone(clZone& zone)
{
    m_host.AddLine(0, "Zone has expired: " + zone.Name);
    m_store.removeZoneRecords(zone);
    m_store.saveZoneFile(zone, false);
    const DateTime now = m_clock.now();
    zone.RefreshIV = kExpiredPoll;
    zone.RetryIV = kExpiredPoll;
    zone.Expires = now;
    zone.NextRefresh = addSeconds(now, kExpiredPoll);
}

void ctlZTS::enableTimer()
{
    disableTimer();
    m_timer = m_clock.startTimer(kWatchdog, [this] { Timer(); });
}

void ctlZTS::disableTimer()
{
    if (m_timer != 0) m_clock.stopTimer(m_timer);
    m_timer = 0;
}

void ctlZTS::closeSocket()
{
    if (m_winsock != kNoSocket) m_network.close(m_winsock);
    m_winsock = kNoSocket;
}

} // namespace quorvane
