// The zones a home network answers itself with LocalNames on: the reverse zones of private and
// special address ranges and home.arpa., each an empty zone with an SOA of its own (RFC 6303,
// RFC 8375), so that no look-up of a home machine's address leaks to the internet. Also what
// counts as a one-label name, which is kept at home too.
#pragma once

#include "store/dns_record.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace quorvane {

class LocalZones {
public:
    LocalZones();
    // The SOA of the empty zone that holds name (normal form); null for none. The IPv6 ranges
    // (fd00::/8, fe80::/10) count only with ipv6.
    const clDNSRecord* soaFor(std::string_view name, bool ipv6) const;

private:
    void add(const std::string& apex);
    std::map<std::string, clDNSRecord, std::less<>> m_soa;
};

// "printer." is a name of one label; "." and "printer.home.lan." are not.
bool oneLabel(std::string_view name);

} // namespace quorvane
