// Big-endian numbers of DNS messages. Never reads past the bytes it is given.
#include "wire/numbers.h"

#include "net/error_hook.h"

#include <cmath>
#include <string>

namespace quorvane {

namespace {

// Folds the first count bytes of remainder high byte first and takes them off when asked; when
// fewer are left the value is 0 and, when asked, the remainder is emptied, so every later read
// finds nothing as well.
uint32_t takeNumber(std::string_view& remainder, size_t count, bool remove)
{
    if (remainder.size() < count) {
        if (remove) remainder = {};
        return 0;
    }
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i)
        value = value << 8 | static_cast<unsigned char>(remainder[i]);
    if (remove) remainder.remove_prefix(count);
    return value;
}

} // namespace

int32_t ExtractShort(std::string_view& remainder, bool remove) noexcept
{
    return static_cast<int32_t>(takeNumber(remainder, 2, remove));
}

double ExtractLong(std::string_view& remainder, bool remove) noexcept
{
    // TTLs and serials are kept as non-negative values; the top bit would make them negative.
    const uint32_t value = takeNumber(remainder, 4, remove);
    return value > 0x7FFFFFFFu ? 2147483647.0 : static_cast<double>(value);
}

Bytes MakeShort(int32_t value) noexcept
{
    return {static_cast<char>(value >> 8 & 0xFF), static_cast<char>(value & 0xFF)};
}

Bytes MakeLong(double value)
{
    const double whole = std::floor(value);
    if (!(whole >= -2147483648.0 && whole <= 2147483647.0)) { // also catches NaN
        reportError("modDNS MakeLong", "overflow: " + std::to_string(value) + " does not fit in 32 bits");
        return {};
    }
    const auto bits = static_cast<uint32_t>(static_cast<int32_t>(whole));
    return {static_cast<char>(bits >> 24), static_cast<char>(bits >> 16 & 0xFF),
            static_cast<char>(bits >> 8 & 0xFF), static_cast<char>(bits & 0xFF)};
}

} // namespace quorvane
