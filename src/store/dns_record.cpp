#include "store/dns_record.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quorvane {

void clDNSRecord::setTTL(int32_t ttl, DateTime now)
{
    m_ttl = ttl;
    m_expiry = now + ttl / kSecondsPerDay;
}

int32_t clDNSRecord::TTL(DateTime now) const
{
    if (Permanent) return m_ttl;
    // A clock moved by years would leave the 32-bit range; the remaining life then saturates.
    const double seconds = std::round((m_expiry - now) * kSecondsPerDay);
    constexpr double lowest = std::numeric_limits<int32_t>::min(),
                     highest = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::clamp(seconds, lowest, highest));
}

DateTime clDNSRecord::TimeOut(DateTime now) const
{
    return Permanent ? now + m_ttl / kSecondsPerDay : m_expiry;
}

} // namespace quorvane
