// Answers from other servers: matched to the request that asked, their records learned into the
// cache, and the request taken a step further: answered, sent down a referral, or on to the next
// server when the answer was of no use.
#include "query/answerer.h"
#include "query/resolver.h"
#include "query/edns.h"
#include "wire/message.h"
#include "query/record_wire.h"

#include "store/record_data.h"
#include "wire/dns_codes.h"
#include "wire/type_names.h"
#include "wire/wire_reader.h"

#include <algorithm>

namespace quorvane {

namespace {

// One record of an answer, its data in the store's form.
struct Received {
    Section section;
    clDNSRecord record; // Name, RecType, Data and Pref
    int32_t ttl;
};

// The records of the three sections. Records of other classes, and of types from the cache's own
// marker range, are passed over; a message cut short keeps the records before the cut.
std::vector<Received> readRecords(std::string_view message, WireReader& reader)
{
    std::vector<Received> records;
    RecordView view;
    for (const Section section : {kAnswer, kAuthority, kAdditional}) {
        for (int i = countAt(message, section - 1); i > 0; --i) {
            if (!readRecord(reader, view)) return records;
            const int type = view.type;
            if (view.dnsClass != kClassIN || type == 0 || type == kTypeOPT || type >= rtype::kMarkerBase) continue;
            Received received{section, {}, view.ttl};
            received.record.Name = std::move(view.name);
            received.record.RecType = static_cast<int16_t>(type);
            if (readRecordData(message, view.rdata, received.record)) records.push_back(std::move(received));
        }
    }
    return records;
}

// The deepest zone below the asked server's own that the authority section delegates the name to;
// empty when the answer is no such referral. Forwarders are expected to answer, not to refer.
std::string referralZone(const std::vector<Received>& records, const clDNSRequest& request)
{
    const std::string& asked = request.Asked.AuthFor;
    std::string zone;
    if (request.Asked.Forwarder) return zone;
    for (const auto& [section, record, ttl] : records) {
        if (section != kAuthority || record.RecType != rtype::NS || record.Name == asked) continue;
        if (inZone(request.CurName, record.Name) && inZone(record.Name, asked) && record.Name.size() > zone.size())
            zone = record.Name;
    }
    return zone;
}

} // namespace

void Resolver::ProcAns(const Endpoint& from, std::string_view message, bool viaTcp)
{
    readAnswer(from, message, viaTcp);
    settle();
}

void Resolver::readAnswer(const Endpoint& from, std::string_view message, bool viaTcp)
{
    if (message.size() < 12) return;
    const int32_t id = shortAt(message, 0);
    const std::string ip = addressText(from.address);
    WireReader reader(message, 12);
    const std::string name = reader.name();
    const int type = reader.shortValue();
    reader.shortValue(); // class
    clDNSRequest* request = reader.ok() && shortAt(message, 4) == 1 ? findWaiting(id, name, type) : nullptr;
    if (request != nullptr && !answeredByAsked(*request, from)) request = nullptr;
    if (request == nullptr) {
        if (m_host.wants(0)) m_host.AddLine(0, "Reply from " + ip + ": Ignored - No matching requests.");
        return;
    }

    std::vector<Received> records = readRecords(message, reader);
    // With SPOOFSECURE a server found through referrals is believed about its own zone only. A
    // forwarder was chosen by the operator and answers for every name.
    const std::string& zone = request->Asked.AuthFor;
    const bool checkZone = m_settings.spoofSecure && !request->Asked.Forwarder;
    size_t refused = 0;
    if (checkZone) refused = std::erase_if(records, [&](const Received& r) { return !inZone(r.record.Name, zone); });
    if (m_host.wants(0)) m_host.AddLine(0, "Reply from " + ip + (refused > 0 ? ": Ignored - Not authority!" : ""));

    const int rcode = static_cast<int>(byteAt(message, 3) & 15);
    const bool truncated = (byteAt(message, 2) & 2) != 0;
    if (rcode == kRcodeFormatError && request->SentEdns) {
        // A server that does not know OPT: asked the same question again without it.
        if (m_plainServers.size() >= kMaxPlainServers) m_plainServers.clear();
        m_plainServers.insert(request->Asked.IP);
        if (m_host.wants(1)) m_host.AddLine(1, "-> Header: Format error - asking again without EDNS");
        return sendQuery(*request);
    }
    if (truncated && !viaTcp && m_settings.tcpQueries) {
        buildQuery(*request, request->SentEdns);
        if (m_outgoing.askOverTcp({from.address, kDnsPort}, m_query)) {
            if (m_host.wants(1)) m_host.AddLine(1, "-> Header: Truncated - asking again over TCP");
            return;
        }
    }
    if (rcode != 0 && rcode != kRcodeNameError) {
        if (m_host.wants(1)) m_host.AddLine(1, "-> Header: " + RCodeN(rcode));
        return dropAsked(*request);
    }
    const bool detail = m_host.wants(1);
    for (const auto& [section, record, ttl] : records) {
        m_store.CacheAdd(record.Name, record.RecType, ttl, record.Data, record.Pref);
        if (detail) m_answerer.logRecord(section, record);
    }

    clDNSRequest& r = *request;
    // Where the aliases of the answer lead from the name asked, and whether that last name got
    // records of the type asked.
    std::string last = r.CurName;
    for (size_t hop = 0; hop < records.size() && r.QType != rtype::CNAME; ++hop) {
        const auto alias = std::find_if(records.begin(), records.end(), [&](const Received& x) {
            return x.section == kAnswer && x.record.RecType == rtype::CNAME && x.record.Name == last;
        });
        if (alias == records.end()) break;
        last = alias->record.Data;
    }
    const bool answered = std::any_of(records.begin(), records.end(), [&](const Received& x) {
        return x.section == kAnswer && x.record.Name == last && (x.record.RecType == r.QType || r.QType == kTypeAny);
    });
    // A negative answer is kept as long as its zone's SOA says (the lower of the SOA's TTL and its
    // minimum); without an SOA it is kept for no time, which still answers this request.
    const auto soa = std::find_if(records.begin(), records.end(), [](const Received& x) {
        return x.section == kAuthority && x.record.RecType == rtype::SOA;
    });
    int32_t negativeTTL = 0;
    if (soa != records.end()) {
        if (const auto fields = readSoa(soa->record.Data))
            negativeTTL = static_cast<int32_t>(std::min<int64_t>(soa->ttl, fields->minimum));
    }
    auto learnAbsent = [&](const std::string& owner, int markerType) {
        if (!checkZone || inZone(owner, zone))
            m_store.CacheAdd(owner, static_cast<int16_t>(markerType), negativeTTL, {}, 0);
    };
    const bool authoritative = (byteAt(message, 2) & 4) != 0; // with TC set, an empty answer says nothing

    if (rcode == kRcodeNameError) {
        learnAbsent(last, rtype::kNameMarker);
    } else if (answered || last != r.CurName) {
        if (!answered && soa != records.end()) learnAbsent(last, rtype::kMarkerBase + r.QType);
    } else if (const std::string delegated = referralZone(records, r); !delegated.empty()) {
        r.NSAcol.clear();
        for (const auto& [section, record, ttl] : records)
            if (section == kAuthority && record.RecType == rtype::NS && record.Name == delegated)
                r.NSAcol.push_back({delegated, "", record.Data, 0});
    } else if (!truncated && (soa != records.end() || authoritative)) {
        learnAbsent(r.CurName, rtype::kMarkerBase + r.QType);
    } else {
        return dropAsked(r); // nothing to go on: a server that does not serve the name
    }
    m_answerer.Check(r);
}

clDNSRequest* Resolver::findWaiting(int32_t id, std::string_view name, int type)
{
    const auto entry = m_byOutID.find(id);
    if (entry == m_byOutID.end()) return nullptr;
    clDNSRequest& request = *entry->second;
    const bool matches = request.State == clDNSRequest::kWaiting && request.CurOutID == id &&
                         request.QType == type && request.CurName == name;
    return matches ? &request : nullptr;
}

void Resolver::forgetOutID(const clDNSRequest& request)
{
    const auto entry = m_byOutID.find(request.CurOutID);
    if (entry == m_byOutID.end() || entry->second != &request) return;
    m_byOutID.erase(entry);
    m_outgoing.forget(request.CurOutID, *this);
}

// The server that gave an answer of no use leaves the list, and the next one is asked.
void Resolver::dropAsked(clDNSRequest& request)
{
    const clNServ& asked = request.Asked;
    std::erase_if(request.NSAcol, [&](const clNServ& s) {
        return s.IP == asked.IP && s.Name == asked.Name && s.AuthFor == asked.AuthFor;
    });
    AskNS(request);
}

} // namespace quorvane
