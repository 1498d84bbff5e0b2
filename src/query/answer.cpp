// Answer building, part one: looking the question up in local data, following aliases, and
// deciding between a reply and resolution through other servers.
#include "query/answerer.h"
#include "query/resolver.h"

#include "store/record_data.h"
#include "wire/addresses.h"
#include "wire/dns_codes.h"
#include "wire/type_names.h"

namespace quorvane {

namespace {

constexpr int kMaxPasses = 25;

bool sameRecord(const clDNSRecord& a, const clDNSRecord& b)
{
    return a.RecType == b.RecType && a.Pref == b.Pref && a.Name == b.Name && a.Data == b.Data;
}

} // namespace

bool Answerer::recursionAllowed(const std::string& client) const
{
    const std::string& rule = m_settings.recursion;
    if (rule == "<all>" || client == "127.0.0.1") return true;
    for (const auto& own : m_settings.localAddresses)
        if (client == own) return true;
    if (rule == "<none>") return false;
    // A pattern such as 192.168.*.* admits every address that begins with its text before the "*".
    const std::string prefix = rule.substr(0, rule.find('*'));
    return client.compare(0, prefix.size(), prefix) == 0;
}

void Answerer::Check(clDNSRequest& request)
{
    if (request.State > clDNSRequest::kWaiting) return;
    request.RecursionAllowed = request.Depth > 0 || recursionAllowed(request.ClientIP);
    if (m_settings.localNames) keepAtHome(request);

    const Lookup found = lookUp(request);
    if (!found.tooLong && blocked(request)) return;
    if (found.tooLong) {
        if (request.Depth > 0) m_resolver.ReturnSub(request, false);
    } else if (found.answered || found.knownAbsent) {
        SendAnswer(request);
    } else if (found.zoneSoa != nullptr) {
        // Our own zone and no such data. The zone's SOA goes with the reply whether the name is
        // unknown or has other types only, so that resolvers can cache the negative answer.
        SectionAdd(request, kAuthority, *found.zoneSoa);
        if (!found.nameExists) request.RCode = kRcodeNameError;
        SendAnswer(request);
    } else if (m_settings.localNames && answerAtHome(request, found)) {
        // answered from an empty private zone, or a one-label name that local data does not know
    } else if (!request.RecursionDesired || !request.RecursionAllowed) {
        SendAnswer(request); // what is known here: nothing, or the aliases that lead elsewhere
    } else {
        m_resolver.resolve(request);
    }
}

// The lookup passes: one per name along the alias chain.
Answerer::Lookup Answerer::lookUp(clDNSRequest& request)
{
    const DateTime now = m_clock.now();
    Lookup found;
    for (;;) {
        if (++request.Steps > kMaxPasses) {
            m_resolver.markFinished(request); // finished without a reply
            found.tooLong = true;
            return found;
        }
        // What is said of the zone and the data always concerns the last name of the alias chain,
        // whose records are looked up once for both.
        const RecordStore& store = m_store;
        const auto run = store.records(request.CurName);
        const clDNSRecord* authority = store.authoritySearch(request.CurName, run);
        found.zoneSoa = authority != nullptr && authority->RecType == rtype::SOA ? authority : nullptr;
        if (found.zoneSoa != nullptr && request.CurName == request.QName) request.Authoritative = true;
        found.nameExists = found.answered = false;
        if (leaseRecord(request)) {
            SectionAdd(request, kAnswer, request.Lease);
            if (request.CurName == request.QName) request.Authoritative = true; // our own data
            found.nameExists = found.answered = true;
            return found;
        }
        const clDNSRecord* alias = nullptr;
        for (const auto& [name, record] : run) {
            if (record.TTL(now) <= -kServedPastExpiry) continue;
            const int type = record.RecType;
            if (type < rtype::kMarkerBase) found.nameExists = true;
            if (type == rtype::CNAME && request.QType != rtype::CNAME) {
                alias = &record;
                break;
            }
            if (type == request.QType || (request.QType == kTypeAny && type < rtype::kMarkerBase)) {
                SectionAdd(request, kAnswer, record);
                found.answered = true;
                if (const RecordType* row = findRecordType(type); row != nullptr && row->additional)
                    AddAddl(request, dataName(record));
            } else if (type == rtype::kNameMarker || type == rtype::kMarkerBase + request.QType) {
                // Learned from another server: no such name, or no records of this type.
                found.knownAbsent = true;
                if (type == rtype::kNameMarker) request.RCode = kRcodeNameError;
            }
        }
        if (alias == nullptr) return found;
        SectionAdd(request, kAnswer, *alias);
        request.CurName = alias->Data;
    }
}

// The A record of a leased name, or the PTR record of a leased address's reverse name, built in
// request.Lease.
bool Answerer::leaseRecord(clDNSRequest& request) const
{
    if (m_leases == nullptr || (request.QType != rtype::A && request.QType != rtype::PTR)) return false;
    const bool address = request.QType == rtype::A;
    if (!address && !request.CurName.ends_with(".in-addr.arpa.")) return false;
    const auto lease =
        address ? m_leases->leaseAddress(request.CurName) : m_leases->leaseName(ArpaToIP(request.CurName));
    if (!lease) return false;
    clDNSRecord& record = request.Lease;
    record.Permanent = true;
    record.RecType = static_cast<int16_t>(request.QType);
    record.Name = request.CurName;
    if (address)
        record.Data = IPToData(lease->data);
    else
        record.Data = lease->data;
    record.setTTL(lease->ttl, m_clock.now());
    return true;
}

void Answerer::SectionAdd(clDNSRequest& request, Section section, const clDNSRecord& record)
{
    auto& records = request.section(section);
    for (const clDNSRecord* present : records)
        if (sameRecord(*present, record)) return;
    records.push_back(&record);
}

// The zone's name servers in the authority section, with their addresses as additional records.
void Answerer::AddAuth(clDNSRequest& request)
{
    const clDNSRecord* authority = m_store.authoritySearch(request.QName);
    if (authority == nullptr) return;
    const std::string zone = authority->Name;
    for (const auto& [name, record] : m_store.records(zone)) {
        if (record.RecType != rtype::NS) continue;
        SectionAdd(request, kAuthority, record);
        AddAddl(request, record.Data);
    }
}

bool Answerer::isAddress(const clDNSRecord& record) const
{
    return record.RecType == rtype::A || (record.RecType == rtype::AAAA && m_settings.aaaa);
}

// Address records of a name that an answer points to (a mail exchanger, a name server).
void Answerer::AddAddl(clDNSRequest& request, std::string_view name)
{
    const DateTime now = m_clock.now();
    for (const auto& [owner, record] : m_store.records(name))
        if (isAddress(record) && record.TTL(now) > -kServedPastExpiry) SectionAdd(request, kAdditional, record);
}

// With AUTOCNAME, a question for an alias itself also gets the addresses the alias stands for.
void Answerer::CNAMERes(clDNSRequest& request)
{
    if (request.QType != rtype::CNAME) return;
    const DateTime now = m_clock.now();
    const auto aliases = request.section(kAnswer); // a copy: the section grows below
    for (const clDNSRecord* alias : aliases) {
        if (alias->RecType != rtype::CNAME) continue;
        for (const auto& [owner, record] : m_store.records(alias->Data))
            if (isAddress(record) && record.TTL(now) > -kServedPastExpiry) SectionAdd(request, kAnswer, record);
    }
}

} // namespace quorvane
