// IPv6 addresses in their three forms: text ("2001:db8::1"), 16-byte data, and reverse names under
// ip6.arpa. Pure functions; they never throw to the caller.
#pragma once

#include "net/bytes.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorvane {

// The 16 bytes of an IPv6 address in text form; nothing for any other text (IPv4 dotted text too).
std::optional<Bytes> parseAddress6(std::string_view text);

// The shortest text form of 16 address bytes; empty for data of another length.
std::string Data6ToText(std::string_view data);

// The reverse name of 16 address bytes: 32 nibbles, lowest first, then "ip6.arpa.".
std::string Data6ToArpa(std::string_view data);

} // namespace quorvane
