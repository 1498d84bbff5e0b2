// The transfer of ctlZTS: the TCP connection to the primary, the framed request, the messages of
// the answer taken apart record by record, and the new records put in place of the old.
#include "replication/secondary_zones.h"

#include "wire/message.h"
#include "query/record_wire.h"
#include "store/record_data.h"
#include "store/zone_text.h"
#include "wire/dns_codes.h"
#include "wire/names.h"
#include "wire/tcp_frame.h"
#include "wire/wire_reader.h"

#include <algorithm>
#include <limits>
#include <malloc.h>

namespace quorvane {

namespace {

// Appended after the question of every transfer request, unless the primary refuses it.
constexpr std::string_view kMarker = "MS";

int32_t toInterval(uint32_t seconds)
{
    return static_cast<int32_t>(std::min<uint32_t>(seconds, std::numeric_limits<int32_t>::max()));
}

// The types a copy keeps: those of the record-type table that the store keeps under its
// settings. Others (obsolete or unknown types) could not be held in the zone's file across a
// restart.
bool keptType(int type, const RecordStore& store)
{
    return findRecordType(type) != nullptr && store.keepsType(type);
}

} // namespace

void ctlZTS::StartZT()
{
    enableTimer();
    m_state = Connecting;
    closeSocket();
    const auto to = addressFromText(m_primary);
    if (!to) return m_host.AddLine(0, "ctlZTS StartZT WS Error: " + m_primary + " is not an IPv4 address");
    m_winsock = m_network.connectTcp({*to, kDnsPort});
    if (m_winsock == kNoSocket) m_host.AddLine(0, "ctlZTS StartZT WS Error: no socket for " + m_primary);
}

void ctlZTS::connected()
{
    if (m_state != Connecting) return;
    disableTimer();
    if (m_store.findZone(m_zone) == nullptr) return ProcQ();
    m_received.clear();
    m_buffer.clear();
    m_done = false;
    m_messages = 0;
    Bytes request = question(m_outgoing.newId(), kTypeAXFR);
    if (!m_noMarker.contains(m_primary)) request += kMarker;
    Bytes framed;
    appendFramed(framed, request);
    m_host.AddLine(2, "Sending Zone Transfer Request to " + m_primary + " for " + m_zone);
    enableTimer();
    m_state = Receiving;
    m_network.sendTcp(m_winsock, framed);
    m_host.DoTray(1);
}

void ctlZTS::peerClosed()
{
    // The watchdog, still running, ends the step: a transfer is complete only with its last SOA.
    m_winsock = kNoSocket;
}

void ctlZTS::DataArrival(std::string_view data)
{
    if (m_state != Receiving) return;
    disableTimer();
    m_buffer.append(data);
    m_host.DoTray(1);
    takeMessages();
}

// Whole messages are taken from the front of the buffer, without moving the rest for each one, so
// a primary that sends one record per message costs no more than one that packs them.
void ctlZTS::takeMessages()
{
    size_t at = 0;
    while (!m_done) {
        const auto message = nextFramed(m_buffer, at);
        if (!message) {
            // Waiting for more, the watchdog running: a primary that stops halfway is noticed.
            m_buffer.erase(0, at);
            enableTimer();
            return;
        }
        ProcAnswer(*message);
        if (m_state != Receiving || m_winsock == kNoSocket) {
            m_buffer.clear(); // asked anew, or given up: the rest belongs to nothing
            return;
        }
    }
    m_buffer.clear();
    closeSocket();
    complete();
}

// One message of the transfer. A message with an error code, or one that does not begin the zone
// with its SOA, is passed over; the transfer then stalls and the watchdog ends it.
void ctlZTS::ProcAnswer(std::string_view message)
{
    ++m_messages;
    if (message.size() < 12) return;
    const int rcode = static_cast<int>(byteAt(message, 3) & 15);
    if (rcode != 0) {
        const bool markerSent = !m_noMarker.contains(m_primary);
        if (m_messages == 1 && markerSent && (rcode == kRcodeFormatError || rcode == kRcodeNotImplemented))
            askWithoutMarker(rcode);
        return;
    }
    WireReader reader(message, 12);
    skipQuestions(reader, countAt(message, 0));
    if (reader.ok()) takeRecords(message, reader);
}

void ctlZTS::takeRecords(std::string_view message, WireReader& reader)
{
    RecordView view;
    for (int i = countAt(message, 1); i > 0; --i) {
        if (!readRecord(reader, view)) return; // the rest of the message cannot be read
        std::string& owner = view.name;
        const int type = view.type;
        const int dnsClass = view.dnsClass;
        const int32_t ttl = view.ttl;
        const std::string_view rdata = view.rdata;
        const bool zoneSoa = type == rtype::SOA && owner == m_zone;
        if (m_received.empty() && !zoneSoa) return; // the zone must begin with its SOA
        if (!m_received.empty() && zoneSoa) {
            m_done = true; // the closing SOA
            return;
        }
        // Records outside the zone would be answered as ours: a primary speaks for its zone only.
        if (!keptType(type, m_store) || dnsClass != kClassIN || !inZone(owner, m_zone) || !storableName(owner))
            continue;
        if (m_received.size() >= kMaxRecords) return abandon();
        clDNSRecord record;
        record.RecType = static_cast<int16_t>(type);
        if (!readRecordData(message, rdata, record)) continue;
        m_received.push_back({std::move(owner), record.RecType, ttl, std::move(record.Data), record.Pref});
    }
}

void ctlZTS::abandon()
{
    m_host.AddLine(0, "Zone Transfer from " + m_primary + " for " + m_zone + " stopped - more than " +
                          std::to_string(kMaxRecords) + " records");
    closeSocket();
    m_received.clear();
    m_received.shrink_to_fit();
    enableTimer(); // the watchdog reports the failed transfer
}

void ctlZTS::askWithoutMarker(int rcode)
{
    m_noMarker.insert(m_primary);
    m_host.AddLine(0, "Primary " + m_primary + " answered the transfer request with response code " +
                          std::to_string(rcode) + " - asking it again without the MS marker");
    StartZT();
}

void ctlZTS::complete()
{
    clZone* zone = m_store.findZone(m_zone);
    if (zone == nullptr) return ProcQ();
    m_store.replaceZoneRecords(*zone, std::move(m_received));
    m_received = {};
    m_host.AddLine(2, "Receiving Zone Transfer from " + m_primary + " for " + m_zone);
    m_store.saveZoneFile(*zone, true);
    const clDNSRecord* first = zone->Records.empty() ? nullptr : m_store.recordByKey(zone->Records.front());
    if (const auto soa = first ? readSoa(first->Data) : std::nullopt) {
        zone->Serial = soa->serial;
        zone->RefreshIV = toInterval(soa->refresh);
        zone->RetryIV = toInterval(soa->retry);
        zone->ExpireIV = toInterval(soa->expire);
    }
    const DateTime now = m_clock.now();
    zone->Expires = addSeconds(now, zone->ExpireIV);
    zone->NextRefresh = addSeconds(now, zone->RefreshIV);
    m_changed(*zone);
    // The old zone, the received list and the file's text were freed just now: a large zone
    // leaves megabytes that the allocator would otherwise keep for good.
    malloc_trim(0);
    ProcQ();
}

} // namespace quorvane
