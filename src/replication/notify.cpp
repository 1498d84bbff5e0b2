#include "replication/notify.h"

#include "wire/message.h"
#include "query/record_wire.h"
#include "wire/dns_codes.h"
#include "wire/names.h"
#include "wire/numbers.h"
#include "wire/wire_reader.h"

namespace quorvane {

void ZoneNotifications::ZoneNotify(const clZone& zone)
{
    for (const std::string& address : zone.Slaves) {
        m_host.AddLine(0, "Sending Zone Update Notification to " + address + " about " + zone.Name);
        Bytes message;
        startMessage(message, m_outgoing.newQuery(*this), kOpcodeNotify << 11 | 0x400, {}); // NOTIFY, AA
        appendQuestion(message, zone.Name, rtype::SOA);
        const auto to = addressFromText(address);
        if (!to) {
            m_host.AddLine(0, "Zone Notify WS Error: " + address + " is not an IPv4 address");
            continue;
        }
        m_outgoing.send({*to, kDnsPort}, message);
        m_host.DoTray(1);
    }
}

bool ZoneNotifications::takeAnswer(const Endpoint&, std::string_view message, bool)
{
    return (byteAt(message, 2) & 0xF8) == (0x80 | kOpcodeNotify << 3);
}

void ZoneNotifications::ProcNotify(const Endpoint& from, std::string_view message)
{
    const std::string sender = addressText(from.address);
    std::string_view rest = message.substr(12);
    const std::string name = ExtractName(message, rest, true);
    if (rest.size() < 4) {
        m_host.AddLine(0, "Incomplete DNS Request from " + sender);
        return;
    }
    const int type = ExtractShort(rest, true);
    const int dnsClass = ExtractShort(rest, true);
    if (type != rtype::SOA || dnsClass != kClassIN) {
        ++m_counters.ReplyCount;
        m_host.AddLine(0, "Unknown Notification type from " + sender);
        m_host.AddLine(0, "Sending answer to " + sender + " about Unknown Notification type.");
        m_host.AddLine(0, "-> Header: Not implemented.");
        return reply(from, message, kRcodeNotImplemented);
    }
    m_host.AddLine(0, "Zone Update Notification from " + sender + " about " + name);
    if (acknowledge(sender, name, message, [&](std::string_view ack) { m_host.sendDns(from, ack); })) return;
    ++m_counters.ReplyCount;
    m_host.AddLine(0, "Sending answer to " + sender + " about Zone Update Notification for " + name);
    m_host.AddLine(0, "-> Header: Server Failure (" + sender + " not recognized as primary).");
    reply(from, message, kRcodeServerFailure);
}

bool ZoneNotifications::ProcNotifyTcp(const std::string& sender, std::string_view message, const Reply& reply)
{
    WireReader reader(message, 12);
    const std::string name = reader.name();
    const int type = reader.shortValue();
    const int dnsClass = reader.shortValue();
    const clZone* zone = m_store.findZone(name);
    if (!reader.ok() || type != rtype::SOA || dnsClass != kClassIN || zone == nullptr ||
        zone->PrimaryIP != sender)
        return false;
    m_host.AddLine(0, "Zone Update Notification from " + sender + " about " + name + " (TCP)");
    return acknowledge(sender, name, message, reply);
}

// A notification from the zone's own primary: acknowledged, and the zone queued for a check.
bool ZoneNotifications::acknowledge(const std::string& sender, const std::string& zone,
                                    std::string_view message, const Reply& reply)
{
    const clZone* found = m_store.findZone(zone);
    if (found == nullptr || found->PrimaryIP != sender) return false;
    m_host.AddLine(0, "Sending Notification Acknowledgement to " + sender);
    // The request as received with QR set: its response code and question stay as they were.
    Bytes ack;
    echoAsReply(ack, message);
    reply(ack);
    m_host.DoTray(1);
    m_queue.Que(zone);
    return true;
}

// The request echoed with QR set and the response code alone in the fourth byte.
void ZoneNotifications::reply(const Endpoint& to, std::string_view request, int rcode)
{
    Bytes out;
    echoAsReply(out, request, rcode);
    m_host.sendDns(to, out);
    m_host.DoTray(1);
}

} // namespace quorvane
