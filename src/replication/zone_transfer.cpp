#include "replication/zone_transfer.h"

#include "wire/message.h"
#include "query/record_wire.h"
#include "store/record_data.h"
#include "wire/dns_codes.h"
#include "wire/names.h"
#include "wire/numbers.h"
#include "wire/type_names.h"
#include "wire/tcp_frame.h"
#include "wire/wire_reader.h"

#include <algorithm>

namespace quorvane {

namespace {

// A slice of a transfer: about this many bytes of framed messages per send. Building one takes well
// under a millisecond, so UDP answers wait at most that long behind a transfer.
constexpr size_t kSliceBytes = 64 * 1024;

} // namespace

ZoneTransferServer::ZoneTransferServer(Clock& clock, QueryHost& host, const RecordStore& store, DnsTcpService& tcp,
                                       RequestCounters& counters)
    : m_clock(clock), m_host(host), m_store(store), m_tcp(tcp), m_counters(counters)
{
}

void ZoneTransferServer::takeMessage(const ctlZT& element, std::string_view message)
{
    m_counters.countRequest(m_clock.now());
    const std::string& ip = element.remote;
    const auto incomplete = [&] {
        ++m_counters.ReplyCount;
        m_host.AddLine(0, "Incomplete DNS Request from " + ip + " (TCP)");
    };
    if (shortAt(message, 4) == 0) return incomplete();
    const auto opcode = static_cast<int>((byteAt(message, 2) & 0x78) / 8);
    const auto reply = [&](std::string_view out) { m_tcp.send(element.Winsock, out); };
    if (opcode == kOpcodeNotify && m_notify && m_notify(ip, message, reply)) return;
    if (opcode != 0) {
        m_host.AddLine(0, OpCodeN(opcode) + " from " + ip + " (TCP)");
        return sendError(element.Winsock, message, kRcodeNotImplemented);
    }
    std::string_view rest = message.substr(12);
    const std::string name = ExtractName(message, rest, true);
    if (rest.size() < 4) return incomplete();
    const int type = ExtractShort(rest, true);
    const int dnsClass = ExtractShort(rest, true);
    if (dnsClass != kClassIN) {
        m_host.AddLine(0, "DNS Request from " + ip + " for " + ClassN(dnsClass) + " (TCP)");
        return sendError(element.Winsock, message, kRcodeNotImplemented);
    }
    // An incremental transfer is answered with the whole zone, which a secondary must accept
    // (RFC 1995): some secondaries that hold a zone ask only that way and never fall back.
    const bool transfer = type == kTypeAXFR || type == kTypeIXFR;
    std::string subject;
    if (transfer) {
        m_host.AddLine(0, "Zone Transfer Request from " + ip + " for " + name +
                              (type == kTypeIXFR ? " (IXFR)" : ""));
        subject = "Zone Transfer for " + name;
    } else {
        subject = RTypeN(type) + "-record for " + name;
        m_host.AddLine(0, "Request from " + ip + " for " + subject + " (TCP)");
    }
    const clZone* zone = type == rtype::SOA || transfer ? m_store.findZone(name) : nullptr;
    const bool listed =
        zone != nullptr && std::find(zone->Slaves.begin(), zone->Slaves.end(), ip) != zone->Slaves.end();
    // A zone is sent only with its SOA in front, as every secondary expects.
    const clDNSRecord* soa =
        zone != nullptr && !zone->Records.empty() ? m_store.recordByKey(zone->Records.front()) : nullptr;
    if (zone == nullptr || (zone->Secure && !listed) || soa == nullptr || soa->RecType != rtype::SOA) {
        m_host.AddLine(0, "Sending answer to " + ip + " about " + subject);
        m_host.AddLine(0, "-> Header: Refused.");
        return sendError(element.Winsock, message, kRcodeRefused);
    }
    if (type == rtype::SOA) return sendSoa(element, *zone, *soa, message);
    startTransfer(element, *zone, *soa, message, type);
}

// The request echoed with QR set and the response code alone in the fourth byte.
void ZoneTransferServer::sendError(SocketId connection, std::string_view request, int rcode)
{
    echoAsReply(m_message, request, rcode);
    m_tcp.send(connection, m_message);
}

namespace {

// Identifier, QR and AA with the request's RD, one question and one answer; then the question.
Bytes answerPrefix(std::string_view request, const std::string& zone, int type)
{
    Bytes out;
    startMessage(out, shortAt(request, 0), (0x84u | (byteAt(request, 2) & 1)) << 8, {1, 1, 0, 0});
    appendQuestion(out, zone, type);
    return out;
}

} // namespace

void ZoneTransferServer::sendSoa(const ctlZT& element, const clZone& zone, const clDNSRecord& soa,
                                 std::string_view request)
{
    m_host.AddLine(0,
                   "Sending reply to " + element.remote + " about SOA-record for " + zone.Name + " (TCP):");
    if (m_host.wants(1)) {
        const auto fields = readSoa(soa.Data);
        const std::string serial = fields ? std::to_string(static_cast<int32_t>(fields->serial)) : "0";
        m_host.AddLine(1, "-> Answer: SOA-record for " + zone.Name + " = " + (fields ? fields->primary : "") +
                              " (Serial " + serial + ")");
    }
    m_out.clear();
    frameRecord(answerPrefix(request, zone.Name, rtype::SOA), soa, m_clock.now());
    m_tcp.sendFramed(element.Winsock, m_out);
}

void ZoneTransferServer::startTransfer(const ctlZT& element, const clZone& zone, const clDNSRecord& soa,
                                       std::string_view request, int type)
{
    m_host.AddLine(0, "Sending Zone Transfer to " + element.remote + " for " + zone.Name);
    ZoneTransferProgress& transfer = m_transfers[element.Winsock] = {};
    transfer.remote = element.remote;
    transfer.zone = zone.Name;
    transfer.firstKey = zone.Records.front();
    transfer.count = zone.Records.size();
    transfer.prefix = answerPrefix(request, zone.Name, type);
    m_out.clear();
    frameRecord(transfer.prefix, soa, m_clock.now());
    transfer.first = m_out;
    m_tcp.hold(element.Winsock, true);
    sendSlice(element.Winsock, transfer);
}

// The next slice of a transfer, sent as one piece. The zone is checked first: when it was reloaded
// or removed meanwhile, the rest would not match what went before, so the connection is closed and
// the secondary asks again.
void ZoneTransferServer::sendSlice(SocketId connection, ZoneTransferProgress& transfer)
{
    const clZone* zone = m_store.findZone(transfer.zone);
    if (zone == nullptr || zone->Records.size() != transfer.count ||
        zone->Records.front() != transfer.firstKey) {
        m_host.AddLine(0, "Zone Transfer to " + transfer.remote + " for " + transfer.zone +
                              " stopped - the zone changed meanwhile");
        return m_tcp.close(connection); // which ends the transfer too
    }
    if (transfer.next > 1) m_out.clear(); // the first slice already holds the SOA
    const DateTime now = m_clock.now();
    while (transfer.next < transfer.count && m_out.size() < kSliceBytes) {
        const clDNSRecord* record = m_store.recordByKey(zone->Records[transfer.next++]);
        // The store's own entries (DFCN) have no row in the record-type table and are never sent.
        if (record != nullptr && findRecordType(record->RecType) != nullptr)
            frameRecord(transfer.prefix, *record, now);
    }
    const bool done = transfer.next >= transfer.count;
    if (done) m_out += transfer.first; // a transfer ends with the SOA it began with
    m_tcp.sendFramed(connection, m_out);
    if (!done) return;
    m_transfers.erase(connection);
    m_tcp.hold(connection, false); // requests that came in while it ran
}

// One message of one record after the prefix, framed, appended to m_out.
void ZoneTransferServer::frameRecord(const Bytes& prefix, const clDNSRecord& record, DateTime now)
{
    m_message = prefix;
    appendRecord(m_message, record, std::max(record.TTL(now), 0));
    appendFramed(m_out, m_message);
}

void ZoneTransferServer::drained(const ctlZT& connection)
{
    const auto transfer = m_transfers.find(connection.Winsock);
    if (transfer != m_transfers.end()) sendSlice(connection.Winsock, transfer->second);
}

} // namespace quorvane
