// Dotted-decimal text of an endpoint address, both ways.
#include "net/network.h"

namespace quorvane {

std::string addressText(uint32_t address)
{
    std::string text;
    text.reserve(15);
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += std::to_string((address >> shift) & 0xFF);
        if (shift > 0) text += '.';
    }
    return text;
}

std::optional<uint32_t> addressFromText(std::string_view text)
{
    uint32_t address = 0;
    for (int part = 0; part < 4; ++part) {
        if (part > 0) {
            if (text.empty() || text.front() != '.') return std::nullopt;
            text.remove_prefix(1);
        }
        size_t digits = 0;
        uint32_t value = 0;
        while (digits < text.size() && digits < 4 && text[digits] >= '0' && text[digits] <= '9')
            value = value * 10 + static_cast<uint32_t>(text[digits++] - '0');
        if (digits == 0 || digits > 3 || value > 255) return std::nullopt;
        text.remove_prefix(digits);
        address = address << 8 | value;
    }
    if (!text.empty()) return std::nullopt;
    return address;
}

} // namespace quorvane
