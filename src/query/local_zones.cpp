#include "query/local_zones.h"

#include "store/record_data.h"

namespace quorvane {

namespace {

// Negative answers from these zones may be kept three hours, as the empty zones' own SOA says.
constexpr int32_t kEmptyZoneTtl = 10800;

} // namespace

LocalZones::LocalZones()
{
    for (const char* first : {"10", "127"}) add(std::string(first) + ".in-addr.arpa.");
    add("168.192.in-addr.arpa.");
    add("254.169.in-addr.arpa.");
    for (int second = 16; second <= 31; ++second) add(std::to_string(second) + ".172.in-addr.arpa.");
    for (int second = 64; second <= 127; ++second) add(std::to_string(second) + ".100.in-addr.arpa.");
    add("d.f.ip6.arpa.");
    for (const char* nibble : {"8", "9", "a", "b"}) add(std::string(nibble) + ".e.f.ip6.arpa.");
    add("home.arpa.");
}

void LocalZones::add(const std::string& apex)
{
    clDNSRecord& soa = m_soa[apex];
    soa.Permanent = true;
    soa.RecType = rtype::SOA;
    soa.Name = apex;
    soa.Data = makeSoaData({apex, "nobody.invalid.", 1, 3600, 1200, 604800, kEmptyZoneTtl});
    soa.setTTL(kEmptyZoneTtl, 0);
}

const clDNSRecord* LocalZones::soaFor(std::string_view name, bool ipv6) const
{
    if (!name.ends_with(".arpa.")) return nullptr; // the common case, at no cost
    if (!ipv6 && name.ends_with(".ip6.arpa.")) return nullptr;
    for (std::string_view zone = name;;) {
        if (const auto found = m_soa.find(zone); found != m_soa.end()) return &found->second;
        const auto dot = zone.find('.');
        if (dot + 1 >= zone.size()) return nullptr;
        zone.remove_prefix(dot + 1);
    }
}

bool oneLabel(std::string_view name)
{
    return name.size() > 1 && name.find('.') == name.size() - 1;
}

} // namespace quorvane
