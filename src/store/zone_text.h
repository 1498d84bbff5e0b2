// The tokens of zone files and hosts files: names made absolute and checked, strict addresses and
// numbers. Pure functions on text; they never throw and never read past a token.
#pragma once

#include "net/bytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvane {

// ASCII letters lower-cased; other bytes unchanged.
std::string lowerAscii(std::string_view text);

// The name a zone-file token stands for under origin: "@" is the origin, a token ending in "." is
// taken as it stands, any other has "." and the origin appended ("www" under "zone." gives
// "www.zone."; under the root origin "." it gives "www.").
std::string absoluteName(std::string_view origin, std::string_view token);

// True for a name in normal form that a zone or cache file can carry and read back unchanged:
// "." or labels of 1 to 63 visible ASCII characters, each followed by ".", at most 255 characters
// in all, none of them one of the file syntax's own characters ; ( ) " or an upper-case letter.
bool storableName(std::string_view name);

// The 4 address bytes of strict dotted text: four decimal numbers of 0 to 255 and nothing else.
std::optional<Bytes> parseAddress(std::string_view text);

// True for a word of letters and digits only (a CAA tag), which reads back as the bare word it is.
bool plainWord(std::string_view word);

// A token of decimal digits only, up to 4294967295.
std::optional<uint32_t> parseNumber(std::string_view token);

} // namespace quorvane
