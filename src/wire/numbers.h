// 16- and 32-bit big-endian numbers of DNS messages: taken off the front of what is left of a
// message, and written for one being built. Pure functions; they never read past the end.
#pragma once

#include "net/bytes.h"

#include <cstdint>
#include <string_view>

namespace quorvane {

// The 16-bit number at the front of remainder (0-65535). With fewer than 2 bytes left the result
// is 0. With remove set, the 2 bytes are taken off, or remainder is emptied when they are missing.
int32_t ExtractShort(std::string_view& remainder, bool remove) noexcept;

// The 32-bit number at the front of remainder, 0-2147483647: a value with the top bit set reads
// as 2147483647, never as a negative number. Missing bytes behave as for ExtractShort.
double ExtractLong(std::string_view& remainder, bool remove) noexcept;

// Two bytes, high byte first. Only the low 16 bits count: 258 gives 01 02, -1 gives FF FF.
Bytes MakeShort(int32_t value) noexcept;

// Four bytes, high byte first: the 32-bit two's-complement image of floor(value). A value outside
// the 32-bit signed range is reported as an error ("modDNS MakeLong") and gives an empty string.
Bytes MakeLong(double value);

} // namespace quorvane
