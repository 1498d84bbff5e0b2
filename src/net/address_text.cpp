// Dotted-decimal text of an endpoint address.
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

} // namespace quorvane
