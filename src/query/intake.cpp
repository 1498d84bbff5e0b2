// Request intake: one query datagram becomes nothing, an "incomplete" line, a not-implemented
// reply, or a pending request that the answer builder takes over.
#include "query/answerer.h"
#include "query/resolver.h"
#include "query/edns.h"
#include "wire/message.h"

#include "wire/dns_codes.h"
#include "wire/names.h"
#include "wire/numbers.h"
#include "wire/record_types.h"
#include "wire/type_names.h"

namespace quorvane {

namespace {

// The question types answered from local data or by recursion: ANY and the record types switched
// on; every other one is not implemented.
bool supportedType(int type, TypeSwitches on)
{
    const RecordType* row = findRecordType(type);
    return type == kTypeAny || (row != nullptr && switchedOn(*row, on));
}

} // namespace

Answerer::Answerer(QueryHost& host, const Clock& clock, RecordStore& store, RequestCounters& counters,
                   Resolver& resolver)
    : m_host(host), m_clock(clock), m_store(store), m_counters(counters), m_resolver(resolver)
{
}

void Answerer::ProcReq(const Endpoint& from, std::string_view message, SocketId tcp)
{
    m_counters.countRequest(m_clock.now());
    const bool logging = m_host.wants(0);
    const std::string ip = addressText(from.address);
    if (message.size() < 13 || shortAt(message, 4) == 0) {
        if (logging) m_host.AddLine(0, "Incomplete DNS Request from " + ip);
        return;
    }
    const auto opcode = static_cast<int>((byteAt(message, 2) & 120) / 8);
    if (opcode == kOpcodeNotify) {
        if (m_notify) m_notify(from, message);
        return;
    }
    if (opcode != kOpcodeQuery) {
        const std::string subject = OpCodeN(opcode);
        if (logging) m_host.AddLine(0, subject + " from " + ip);
        notImplemented(from, tcp, message, ip, subject);
        return;
    }

    clDNSRequest& request = m_request;
    request.reset();
    request.client = from;
    request.TcpConnection = tcp;
    request.ClientIP = ip;
    request.ClientPort = from.port;
    request.QueryID = shortAt(message, 0);
    request.RecursionDesired = (byteAt(message, 2) & 1) != 0;
    std::string_view rest = message.substr(12);
    ExtractNameInto(message, rest, request.QName);
    request.CurName = request.QName;
    if (rest.size() < 4) {
        if (logging) m_host.AddLine(0, "Incomplete DNS Request from " + ip);
        return;
    }
    request.QType = ExtractShort(rest, true);
    const int dnsClass = ExtractShort(rest, true);
    const size_t questionEnd = message.size() - rest.size();
    const ClientOpt opt = m_settings.edns ? readClientOpt(message, questionEnd) : ClientOpt{};
    request.ClientEdns = opt.present ? opt.version : -1;
    request.ClientSize = static_cast<uint16_t>(replyLimit(opt));
    // With EDNS the echo ends after the question and carries our OPT, not whatever the client sent.
    const size_t echoed = m_settings.edns ? questionEnd : message.size();
    if (dnsClass != kClassIN) {
        const std::string subject = ClassN(dnsClass);
        if (logging) m_host.AddLine(0, "DNS Request from " + ip + " for " + subject);
        notImplemented(from, tcp, message.substr(0, echoed), ip, subject, m_settings.edns ? &opt : nullptr);
        return;
    }
    if (logging)
        m_host.AddLine(0, "Request from " + ip + " for " + RTypeN(request.QType) + "-record for " + request.QName);
    if (opt.malformed) return sendError(request, kRcodeFormatError);
    if (opt.present && opt.version > 0) return sendError(request, kRcodeBadVersion);
    if (!supportedType(request.QType, {m_settings.aaaa, m_settings.moreTypes})) {
        const std::string subject = RTypeN(request.QType) + "-record for " + request.QName;
        notImplemented(from, tcp, message.substr(0, echoed), ip, subject, m_settings.edns ? &opt : nullptr);
        return;
    }
    Check(request); // one that has to wait for another server moves to the resolver's list
    m_resolver.settle();
}

void Answerer::notImplemented(const Endpoint& from, SocketId tcp, std::string_view message,
                                const std::string& ip, const std::string& subject, const ClientOpt* opt)
{
    ++m_counters.ReplyCount;
    if (m_host.wants(0)) {
        m_host.AddLine(0, "Sending answer to " + ip + " about " + subject);
        m_host.AddLine(0, "-> Header: Not implemented.");
    }
    // The request echoed whole, with QR set and RCODE 4 (RA set): identifier, opcode, AA, TC and RD
    // as received, all four counts and everything after them unchanged.
    Bytes reply;
    echoAsReply(reply, message, 0x84);
    if (opt != nullptr) { // the question alone, then our OPT if the client sent one
        reply.replace(6, 6, 6, '\0');
        if (opt->present) {
            reply[11] = 1;
            appendOpt(reply, 0);
        }
    }
    sendReply(from, tcp, reply);
    m_host.DoTray(1);
}

} // namespace quorvane
