// Names that stay on the home network (LocalNames): one-label names, looked up in the server's
// domain and never sent out, and the empty zones of private reverse names and home.arpa.
#include "query/answerer.h"

#include "wire/dns_codes.h"

namespace quorvane {

namespace {

constexpr int32_t kAliasTtl = 300;

} // namespace

// On a client's question for a name of one label ("printer."): an alias to that label in the
// server's domain leads the look-up there, and the request is kept from other servers.
void Answerer::keepAtHome(clDNSRequest& request)
{
    if (request.Depth > 0 || request.LocalOnly || request.CurName != request.QName || !oneLabel(request.QName))
        return;
    request.LocalOnly = true;
    if (m_settings.serverDomain.empty() || request.QType == rtype::CNAME) return; // looked up as it is
    clDNSRecord& alias = request.Alias;
    alias.Permanent = true;
    alias.RecType = rtype::CNAME;
    alias.Name = request.QName;
    alias.Data = request.QName + m_settings.serverDomain + '.';
    alias.setTTL(kAliasTtl, m_clock.now());
    SectionAdd(request, kAnswer, alias);
    request.CurName = alias.Data;
}

// What local data did not answer and must not go out: a name of an empty private zone that no
// Forward rule sends elsewhere gets a name error (or, at the zone's apex, its SOA or no data) with
// the zone's SOA; a one-label name that local data does not know gets a name error.
bool Answerer::answerAtHome(clDNSRequest& request, const Lookup& found)
{
    const clDNSRecord* soa = m_localZones.soaFor(request.CurName, m_settings.aaaa);
    if (soa != nullptr && forwardRuleFor(m_settings.forwardRules, request.CurName) == nullptr) {
        const bool apex = request.CurName == soa->Name;
        SectionAdd(request, apex && request.QType == rtype::SOA ? kAnswer : kAuthority, *soa);
        if (!apex && !found.nameExists) request.RCode = kRcodeNameError;
        if (request.CurName == request.QName) request.Authoritative = true;
    } else if (request.LocalOnly) {
        if (!found.nameExists) request.RCode = kRcodeNameError;
    } else {
        return false;
    }
    SendAnswer(request);
    return true;
}

} // namespace quorvane
