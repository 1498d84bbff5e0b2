// Answer building, part two: the reply message, its log lines, and the rotation of records of one
// name and type from answer to answer.
#include "query/answerer.h"
#include "query/resolver.h"
#include "query/edns.h"
#include "wire/message.h"
#include "query/record_wire.h"

#include "store/record_data.h"
#include "wire/dns_codes.h"
#include "wire/names.h"
#include "wire/numbers.h"
#include "wire/type_names.h"

namespace quorvane {

namespace {

// At most this many records of a section go into a datagram reply; a reply over TCP is limited by
// its size only (finishReply), so that a client that asked again there gets every record.
constexpr size_t kMaxSectionRecords = 100;

size_t sectionCap(const clDNSRequest& request)
{
    return request.TcpConnection == kNoSocket ? kMaxSectionRecords : SIZE_MAX;
}

const char* sectionName(Section section)
{
    switch (section) {
    case kAnswer: return "Answer";
    case kAuthority: return "Authority";
    case kAdditional: return "Additional";
    }
    return "";
}

} // namespace

void Answerer::SendAnswer(clDNSRequest& request)
{
    m_resolver.markFinished(request);
    if (request.Depth > 0) return m_resolver.ReturnSub(request, true); // a sub-request's answer is for its parent
    if (m_settings.autoCName) CNAMERes(request);
    const bool recursive = request.RecursionDesired && request.RecursionAllowed;
    if (!recursive) AddAuth(request);

    if (m_host.wants(0)) {
        const std::string type = RTypeN(request.QType);
        m_host.AddLine(0, "Sending reply to " + request.ClientIP + " about " + type + "-record for " + request.QName +
                              ":");
        if (request.RCode == kRcodeNoError && request.section(kAnswer).empty() && (request.Authoritative || recursive))
            m_host.AddLine(0, "-> Answer: There are no " + type + "-Records for " + request.QName);
        if (request.RCode != kRcodeNoError) m_host.AddLine(0, "-> Header: " + RCodeN(request.RCode));
    }

    writeHeader(request);
    m_recordEnds.clear();
    for (Section s : {kAnswer, kAuthority, kAdditional}) writeSection(request, s);
    finishReply(request);
    sendReply(request.client, request.TcpConnection, m_reply);
    m_host.DoTray(1);
}

// A query that cannot be taken as it stands (a bad or unknown OPT record): the header, the question
// and our OPT record, with that response code.
void Answerer::sendError(clDNSRequest& request, int rcode)
{
    m_resolver.markFinished(request);
    request.RCode = rcode;
    ++m_counters.ReplyCount;
    if (m_host.wants(0)) {
        m_host.AddLine(0, "Sending reply to " + request.ClientIP + " about " + RTypeN(request.QType) + "-record for " +
                              request.QName + ":");
        m_host.AddLine(0, "-> Header: " + RCodeN(rcode));
    }
    writeHeader(request);
    m_recordEnds.clear();
    finishReply(request);
    sendReply(request.client, request.TcpConnection, m_reply);
}

void Answerer::writeHeader(const clDNSRequest& request)
{
    const unsigned flags = 0x8000 | (request.Authoritative ? 0x400 : 0) | (request.RecursionDesired ? 0x100 : 0) |
                           (request.RecursionAllowed ? 0x80 : 0) | (request.RCode & 0x0F);
    const auto count = [&](Section s) { return std::min(request.section(s).size(), sectionCap(request)); };
    startMessage(m_reply, request.QueryID, flags, {1, count(kAnswer), count(kAuthority), count(kAdditional)});
    appendQuestion(m_reply, request.QName, request.QType);
    m_questionEnd = m_reply.size();
}

// With EDNS switched on, a datagram reply is cut after the last whole record that fits the
// client's limit, with TC set, and a client that sent OPT gets ours. Over TCP only the largest
// message there is limits the reply.
void Answerer::finishReply(const clDNSRequest& request)
{
    const bool tcp = request.TcpConnection != kNoSocket;
    if (!m_settings.edns && !tcp) return;
    Bytes& out = m_reply;
    const size_t extra = m_settings.edns && request.ClientEdns >= 0 ? kOptSize : 0;
    const size_t limit = tcp ? 65535 : request.ClientSize;
    if (out.size() + extra > limit) {
        size_t kept = 0;
        while (kept < m_recordEnds.size() && m_recordEnds[kept] + extra <= limit) ++kept;
        out.resize(kept == 0 ? m_questionEnd : m_recordEnds[kept - 1]);
        for (size_t at = 6; at < 12; at += 2) { // the sections' counts, in their order
            const size_t count = std::min(static_cast<size_t>(shortAt(out, at)), kept);
            kept -= count;
            patchShort(out, at, count);
        }
        out[2] = static_cast<char>(out[2] | 2); // TC
    }
    if (extra > 0) {
        appendOpt(out, request.RCode);
        patchShort(out, 10, static_cast<size_t>(shortAt(out, 10)) + 1);
    }
}

void Answerer::sendReply(const Endpoint& to, SocketId tcp, std::string_view message)
{
    if (tcp == kNoSocket)
        m_host.sendDns(to, message);
    else
        m_host.sendDnsTcp(tcp, message);
}

void Answerer::writeSection(clDNSRequest& request, Section section)
{
    const auto& records = request.section(section);
    if (records.empty()) return;
    const DateTime now = m_clock.now();
    const bool detail = m_host.wants(1);
    const std::vector<size_t>& order = RoundRobin(request, section);
    for (size_t i = 0; i < order.size() && i < sectionCap(request); ++i) {
        const clDNSRecord& record = *records[order[i]];
        appendRecord(m_reply, record, std::max(record.TTL(now), 0));
        m_recordEnds.push_back(m_reply.size());
        if (detail) logRecord(section, record);
    }
}

// The order in which a section's records are written: each run of records of one name and type
// starts one further on than the last answer that carried it, so clients spread over the addresses
// of a name. The rotation count lives on the first record of the run in the store.
const std::vector<size_t>& Answerer::RoundRobin(clDNSRequest& request, Section section)
{
    const auto& records = request.section(section);
    std::vector<size_t>& order = m_order;
    order.resize(records.size());
    for (size_t i = 0; i < records.size(); ++i) order[i] = i;
    for (size_t first = 0; first < records.size();) {
        size_t end = first + 1;
        while (end < records.size() && records[end]->Name == records[first]->Name &&
               records[end]->RecType == records[first]->RecType)
            ++end;
        if (end - first > 1) {
            for (auto& [name, stored] : m_store.records(records[first]->Name)) {
                if (stored.RecType != records[first]->RecType) continue;
                const auto shift = static_cast<size_t>(stored.RoRo) % (end - first);
                stored.RoRo = static_cast<int16_t>((stored.RoRo + 1) % 10000);
                std::rotate(order.begin() + static_cast<long>(first), order.begin() + static_cast<long>(first + shift),
                            order.begin() + static_cast<long>(end));
                break;
            }
        }
        first = end;
    }
    return order;
}

void Answerer::logRecord(Section section, const clDNSRecord& record)
{
    m_host.AddLine(1, std::string("-> ") + sectionName(section) + ": " + RTypeN(record.RecType) +
                          "-record for " + record.Name + " = " + recordLogText(record));
}

} // namespace quorvane
