// The lines of a hosts file: "address name alias ...", "#" comments. Pure text handling; the
// loader that turns lines into records is RecordStore::LoadHosts.
#pragma once

#include "net/bytes.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

struct HostsLine
{
    Bytes address;                  // 4 bytes, or 16 for an IPv6 address
    std::vector<std::string> names; // cleaned, with a trailing "."; the first is the host's own name
};

// Nothing for a blank or comment line, a line without a usable name, and a line whose address is
// neither strict dotted IPv4 text nor IPv6 text.
std::optional<HostsLine> parseHostsLine(std::string_view line);

} // namespace quorvane
