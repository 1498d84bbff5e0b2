#include "replication/zone_transfer.h"

#include "query/message_bytes.h"
#include "query/record_wire.h"
#include "store/record_data.h"
#include "wire/dns_codes.h"
#include "wire/names.h"
#include "wire/numbers.h"
#include "wire/type_names.h"
#include "wire/wire_reader.h"

#include <algorithm>

namespace quorvane {

namespace {

// A slice of a transfer: about this many bytes of framed messages per send. Building one takes well
// under a millisecond, so UDP answers wait at most that long behind a transfer.
constexpr size_t kSliceBytes = 64 * 1024;
// While a transfer runs, requests that come in wait in the buffer; a peer that sends more than two
// of the largest messages meanwhile is not a secondary and is cut off.
constexpr size_t kMaxBuffered = 2 * (65535 + 2);

// A standard query for anything but a zone: what the DNS service answers when it takes TCP.
bool ordinaryQuestion(std::string_view message)
{
    if ((byteAt(message, 2) & 0x78) != 0) return false;
    WireReader reader(message, 12);
    reader.name();
    const int type = reader.shortValue();
    return !reader.ok() || (type != kTypeAXFR && type != kTypeIXFR);
}

void frame(Bytes& out, std::string_view message)
{
    putShort(out, message.size());
    out += message;
}

} // namespace

ZoneTransferServer::ZoneTransferServer(Network& network, Clock& clock, QueryHost& host,
                                       const RecordStore& store, DnsService& dns, const FloodGuard& flood)
    : m_network(network), m_clock(clock), m_host(host), m_store(store), m_dns(dns), m_flood(flood)
{
    m_timer = m_clock.startTimer(std::chrono::milliseconds(1000), [this] { Timer1(); });
}

ZoneTransferServer::~ZoneTransferServer()
{
    m_clock.stopTimer(m_timer);
}

void ZoneTransferServer::connectionRequest(SocketId connection, const Endpoint& from, bool running)
{
    if (!running) return m_network.close(connection);
    const std::string address = addressText(from.address);
    if (m_flood.isBlocked(from.address)) {
        m_host.AddLine(0, "TCP Connection Request from " + address + " on Block list. Ignored!");
        return m_network.close(connection); // left unanswered, and its descriptor is not kept
    }
    for (auto& element : m_TCPcon)
        if (!element->Busy) return Accept(*element, connection, from);
    if (m_TCPcon.size() < kMaxConnections) {
        m_TCPcon.push_back(std::make_unique<ctlZT>());
        return Accept(*m_TCPcon.back(), connection, from);
    }
    m_network.close(connection);
    const DateTime now = m_clock.now();
    if ((now - m_lastFullLine) * kSecondsPerDay >= 1.0) {
        m_lastFullLine = now;
        m_host.AddLine(0, "TCP Connection Request from " + address + " closed - " +
                              std::to_string(kMaxConnections) + " connections are open already");
    }
}

void ZoneTransferServer::Accept(ctlZT& element, SocketId connection, const Endpoint& from)
{
    element.buffer.clear();
    element.Busy = true;
    element.idleTicks = 0;
    element.transfer.reset();
    element.Winsock = connection;
    element.remote = addressText(from.address);
    element.peer = from;
}

ctlZT* ZoneTransferServer::find(SocketId connection)
{
    for (auto& element : m_TCPcon)
        if (element->Busy && element->Winsock == connection) return element.get();
    return nullptr;
}

void ZoneTransferServer::DataArrival(SocketId connection, std::string_view data)
{
    ctlZT* element = find(connection);
    if (element == nullptr) return;
    element->buffer += data;
    element->idleTicks = 0;
    m_host.DoTray(1);
    if (element->buffer.size() > kMaxBuffered) return release(*element);
    if (!element->transfer) takeMessages(*element);
}

// Each whole message is taken off the buffer before it is handled, so a message that fails is
// not handled again. A transfer stops the loop: what follows waits until it is sent.
void ZoneTransferServer::takeMessages(ctlZT& element)
{
    while (element.Busy && !element.transfer && element.buffer.size() >= 2) {
        const auto length = static_cast<size_t>(shortAt(element.buffer, 0));
        if (element.buffer.size() < length + 2) return;
        const Bytes message = element.buffer.substr(2, length);
        element.buffer.erase(0, length + 2);
        if (message.size() >= 13) ProcReq(element, message);
    }
}

void ZoneTransferServer::ProcReq(ctlZT& element, std::string_view message)
{
    if ((byteAt(message, 2) & 0x80) != 0) return; // a response: not ours to answer
    if (m_dns.answersTcp() && ordinaryQuestion(message))
        return m_dns.ProcReq(element.peer, message, element.Winsock);
    m_dns.countRequest();
    const std::string& ip = element.remote;
    const auto incomplete = [&] {
        ++m_dns.ReplyCount;
        m_host.AddLine(0, "Incomplete DNS Request from " + ip + " (TCP)");
    };
    if (shortAt(message, 4) == 0) return incomplete();
    const auto opcode = static_cast<int>((byteAt(message, 2) & 0x78) / 8);
    const auto reply = [&](std::string_view out) {
        m_out.clear();
        frame(m_out, out);
        send(element, m_out);
    };
    if (opcode == kOpcodeNotify && m_notify && m_notify(ip, message, reply)) return;
    if (opcode != 0) {
        m_host.AddLine(0, OpCodeN(opcode) + " from " + ip + " (TCP)");
        return sendError(element, message, kRcodeNotImplemented);
    }
    std::string_view rest = message.substr(12);
    const std::string name = ExtractName(message, rest, true);
    if (rest.size() < 4) return incomplete();
    const int type = ExtractShort(rest, true);
    const int dnsClass = ExtractShort(rest, true);
    if (dnsClass != kClassIN) {
        m_host.AddLine(0, "DNS Request from " + ip + " for " + ClassN(dnsClass) + " (TCP)");
        return sendError(element, message, kRcodeNotImplemented);
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
        return sendError(element, message, kRcodeRefused);
    }
    if (type == rtype::SOA) return sendSoa(element, *zone, *soa, message);
    startTransfer(element, *zone, *soa, message, type);
}

// The request echoed with QR set and the response code alone in the fourth byte.
void ZoneTransferServer::sendError(ctlZT& element, std::string_view request, int rcode)
{
    m_message.assign(request);
    m_message[2] = static_cast<char>(byteAt(request, 2) | 0x80);
    m_message[3] = static_cast<char>(rcode);
    m_out.clear();
    frame(m_out, m_message);
    send(element, m_out);
}

namespace {

// Identifier, QR and AA with the request's RD, one question and one answer; then the question.
Bytes answerPrefix(std::string_view request, const std::string& zone, int type)
{
    Bytes out(request.substr(0, 2));
    out += static_cast<char>(0x84 | (byteAt(request, 2) & 1));
    out += '\0';
    putShort(out, 1);
    putShort(out, 1);
    out.append(4, '\0');
    out += ZipName(zone, out);
    putShort(out, static_cast<size_t>(type));
    putShort(out, kClassIN);
    return out;
}

} // namespace

void ZoneTransferServer::sendSoa(ctlZT& element, const clZone& zone, const clDNSRecord& soa,
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
    send(element, m_out);
}

void ZoneTransferServer::startTransfer(ctlZT& element, const clZone& zone, const clDNSRecord& soa,
                                       std::string_view request, int type)
{
    m_host.AddLine(0, "Sending Zone Transfer to " + element.remote + " for " + zone.Name);
    ZoneTransferProgress& transfer = element.transfer.emplace();
    transfer.zone = zone.Name;
    transfer.firstKey = zone.Records.front();
    transfer.count = zone.Records.size();
    transfer.prefix = answerPrefix(request, zone.Name, type);
    m_out.clear();
    frameRecord(transfer.prefix, soa, m_clock.now());
    transfer.first = m_out;
    sendSlice(element);
}

// The next slice of a transfer, sent as one piece. The zone is checked first: when it was reloaded
// or removed meanwhile, the rest would not match what went before, so the connection is closed and
// the secondary asks again.
void ZoneTransferServer::sendSlice(ctlZT& element)
{
    ZoneTransferProgress& transfer = *element.transfer;
    const clZone* zone = m_store.findZone(transfer.zone);
    if (zone == nullptr || zone->Records.size() != transfer.count ||
        zone->Records.front() != transfer.firstKey) {
        m_host.AddLine(0, "Zone Transfer to " + element.remote + " for " + transfer.zone +
                              " stopped - the zone changed meanwhile");
        return release(element);
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
    element.idleTicks = 0;
    send(element, m_out);
    if (!done) return;
    element.transfer.reset();
    takeMessages(element); // requests that came in while it ran
}

// One message of one record after the prefix, framed, appended to m_out.
void ZoneTransferServer::frameRecord(const Bytes& prefix, const clDNSRecord& record, DateTime now)
{
    m_message = prefix;
    appendRecord(m_message, record, std::max(record.TTL(now), 0));
    frame(m_out, m_message);
}

void ZoneTransferServer::send(ctlZT& element, std::string_view framed)
{
    m_network.sendTcp(element.Winsock, framed);
    m_host.DoTray(1);
}

void ZoneTransferServer::sendAnswer(SocketId connection, std::string_view message)
{
    ctlZT* element = find(connection);
    if (element == nullptr) return;
    element->idleTicks = 0;
    m_out.clear();
    frame(m_out, message);
    send(*element, m_out);
}

void ZoneTransferServer::drained(SocketId connection)
{
    if (ctlZT* element = find(connection); element != nullptr && element->transfer) sendSlice(*element);
}

void ZoneTransferServer::peerClosed(SocketId connection)
{
    ctlZT* element = find(connection);
    if (element == nullptr) return;
    element->Winsock = kNoSocket; // already gone
    release(*element);
}

void ZoneTransferServer::Timer1()
{
    for (auto& element : m_TCPcon)
        if (element->Busy && ++element->idleTicks >= kIdleSeconds) release(*element);
}

void ZoneTransferServer::release(ctlZT& element)
{
    m_network.close(element.Winsock);
    element.Winsock = kNoSocket;
    element.Busy = false;
    element.transfer.reset();
    element.buffer.clear();
    element.buffer.shrink_to_fit();
}

void ZoneTransferServer::closeAll()
{
    for (auto& element : m_TCPcon)
        if (element->Busy) release(*element);
}

} // namespace quorvane
