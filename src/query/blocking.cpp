// Questions for names on the block lists: found after the local look-up, so that own zones, the
// hosts file and DHCP leases always win, and answered at once without asking any other server.
#include "query/answerer.h"

#include "wire/dns_codes.h"

#include <algorithm>

namespace quorvane {

// Whether the request is for a blocked name, or its aliases lead through one; its reply has then
// been sent. Sub-requests (addresses of name servers) and clients on NOFILTER are never filtered.
bool Answerer::blocked(clDNSRequest& request)
{
    if (m_filter == nullptr || request.Depth > 0) return false;
    const auto& answer = request.section(kAnswer);
    if (request.Authoritative || (!answer.empty() && answer.front()->Permanent)) return false; // local data
    const auto& exempt = m_filterSettings.noFilter;
    if (std::find(exempt.begin(), exempt.end(), request.ClientIP) != exempt.end()) return false;
    std::string_view entry = m_filter->blockedBy(request.QName);
    // An alias learned from another server may point at a blocked name (a tracker behind a CNAME).
    for (size_t i = 0; i < answer.size() && entry.empty(); ++i)
        if (answer[i]->RecType == rtype::CNAME) entry = m_filter->blockedBy(answer[i]->Data);
    if (entry.empty()) return false;
    sendBlocked(request, entry);
    return true;
}

void Answerer::sendBlocked(clDNSRequest& request, std::string_view entry)
{
    const DateTime now = m_clock.now();
    m_counters.countBlocked(now);
    if (m_host.wants(1)) m_host.AddLine(1, "-> Blocked by list: " + std::string(entry));
    for (auto& records : request.Sections) records.clear();
    request.KeptCount = {};
    request.Kept.clear();
    request.RCode = kRcodeNoError;
    switch (m_filterSettings.answer) {
    case BlockAnswer::NameError: request.RCode = kRcodeNameError; break;
    case BlockAnswer::Refused: request.RCode = kRcodeRefused; break;
    case BlockAnswer::Zero:
        if (request.QType != rtype::A && request.QType != rtype::AAAA) break;
        // The unspecified address, built in the request's own record slot.
        clDNSRecord& record = request.Lease;
        record.Permanent = false;
        record.RecType = static_cast<int16_t>(request.QType);
        record.Name = request.QName;
        record.Data.assign(request.QType == rtype::A ? 4 : 16, '\0');
        record.Pref = 0;
        record.setTTL(kBlockedTTL, now);
        request.section(kAnswer).push_back(&record);
        break;
    }
    SendAnswer(request);
}

} // namespace quorvane
