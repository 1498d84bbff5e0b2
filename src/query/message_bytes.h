// Reading the fixed header fields of a received DNS message by position. Callers check the
// message's length first.
#pragma once

#include <cstddef>
#include <string_view>

namespace quorvane {

inline unsigned byteAt(std::string_view message, size_t i)
{
    return static_cast<unsigned char>(message[i]);
}

// The 16-bit big-endian number at bytes i and i + 1.
inline int shortAt(std::string_view message, size_t i)
{
    return static_cast<int>(byteAt(message, i) << 8 | byteAt(message, i + 1));
}

} // namespace quorvane
