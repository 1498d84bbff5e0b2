// Conversions between address texts, address data and reverse names. No lookups, no state.
#include "wire/addresses.h"

#include "net/error_hook.h"
#include "net/network.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <exception>

namespace quorvane {

namespace {

constexpr std::string_view kArpaSuffix = ".in-addr.arpa.";
constexpr unsigned kTooBig = 256;

// The leading number of one part of an address: blanks, an optional sign, digits; whatever follows
// is ignored, and a part without digits is 0. The sign is dropped. Anything above 255 is kTooBig.
unsigned partValue(std::string_view part)
{
    size_t at = part.find_first_not_of(" \t");
    if (at != std::string_view::npos && (part[at] == '-' || part[at] == '+')) ++at;
    unsigned value = 0;
    for (; at < part.size() && part[at] >= '0' && part[at] <= '9'; ++at)
        value = std::min(value * 10 + static_cast<unsigned>(part[at] - '0'), kTooBig);
    return value;
}

// The first four dot-separated parts of text, read by partValue; missing parts are 0.
std::array<unsigned, 4> partValues(std::string_view text)
{
    std::array<unsigned, 4> values{};
    for (unsigned& value : values) {
        const size_t dot = text.find('.');
        value = partValue(text.substr(0, dot));
        text = dot == std::string_view::npos ? std::string_view{} : text.substr(dot + 1);
    }
    return values;
}

} // namespace

uint32_t addressValue(std::string_view text)
{
    uint32_t address = 0;
    for (unsigned value : partValues(text))
        address = address << 8 | (value >= kTooBig ? 0 : value);
    return address;
}

namespace {

// The first four bytes of data as one number; missing bytes are 0.
uint32_t dataValue(std::string_view data)
{
    uint32_t address = 0;
    for (size_t i = 0; i < 4; ++i)
        address = address << 8 | (i < data.size() ? static_cast<unsigned char>(data[i]) : 0u);
    return address;
}

Bytes addressData(uint32_t address)
{
    return {static_cast<char>(address >> 24), static_cast<char>(address >> 16 & 0xFF),
            static_cast<char>(address >> 8 & 0xFF), static_cast<char>(address & 0xFF)};
}

// Position (1-32) of the mask's last set bit counted from the most significant one; 0 for none.
int maskLength(std::string_view mask)
{
    const uint32_t bits = addressValue(mask);
    return bits == 0 ? 0 : 32 - std::countr_zero(bits);
}

} // namespace

std::string DataToIP(std::string_view data)
{
    return addressText(dataValue(data));
}

Bytes IPToData(std::string_view text)
{
    return addressData(addressValue(text));
}

std::string IPToBin(std::string_view text)
{
    std::string bits;
    try {
        const uint32_t address = addressValue(text);
        bits.reserve(32);
        for (int bit = 31; bit >= 0; --bit)
            bits += (address >> bit & 1) ? '1' : '0';
    } catch (const std::exception& e) {
        reportError("modIP IPToBin", e.what());
    }
    return bits;
}

bool SameNet(std::string_view a, std::string_view b, std::string_view mask) noexcept
{
    const int length = maskLength(mask);
    if (length == 0) return true;
    const uint32_t prefix = ~uint32_t{0} << (32 - length);
    return ((addressValue(a) ^ addressValue(b)) & prefix) == 0;
}

bool ValidIP(std::string_view address, std::string_view mask) noexcept
{
    if (address.empty() || address.starts_with("127.")) return false;
    const int length = maskLength(mask);
    const uint32_t hostBits = length == 32 ? 0 : ~uint32_t{0} >> length;
    const uint32_t host = addressValue(address) & hostBits;
    return host != 0 && host != hostBits;
}

std::string CanonicalIP(std::string_view text)
{
    return addressText(addressValue(text));
}

Bytes ArpaToData(std::string_view name)
{
    if (!name.ends_with(kArpaSuffix)) return addressData(0);
    const auto values = partValues(name.substr(0, name.size() - kArpaSuffix.size()));
    // The name lists the address back to front. Unlike address text, a number above 255 is kept
    // as 255 here.
    uint32_t address = 0;
    for (auto value = values.rbegin(); value != values.rend(); ++value)
        address = address << 8 | std::min(*value, 255u);
    return addressData(address);
}

std::string ArpaToIP(std::string_view name)
{
    return DataToIP(ArpaToData(name));
}

std::string DataToArpa(std::string_view data)
{
    std::string name;
    try {
        const uint32_t address = dataValue(data);
        name.reserve(29); // "255.255.255.255.in-addr.arpa."
        for (int shift = 0; shift < 32; shift += 8) {
            name += std::to_string(address >> shift & 0xFF);
            name += '.';
        }
        name += kArpaSuffix.substr(1);
    } catch (const std::exception& e) {
        reportError("modDNS DataToArpa", e.what());
    }
    return name;
}

} // namespace quorvane
