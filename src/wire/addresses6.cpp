#include "wire/addresses6.h"

#include <arpa/inet.h>

namespace quorvane {

namespace {

constexpr size_t kAddressBytes = 16;
constexpr std::string_view kArpa6 = "ip6.arpa.";
constexpr char kHex[] = "0123456789abcdef";

} // namespace

std::optional<Bytes> parseAddress6(std::string_view text)
{
    // The longest text form (with an embedded IPv4 tail) has 45 characters.
    if (text.empty() || text.size() > 45 || text.find(':') == std::string_view::npos) return std::nullopt;
    const std::string terminated(text);
    unsigned char address[kAddressBytes];
    if (inet_pton(AF_INET6, terminated.c_str(), address) != 1) return std::nullopt;
    return Bytes(reinterpret_cast<const char*>(address), kAddressBytes);
}

std::string Data6ToText(std::string_view data)
{
    if (data.size() != kAddressBytes) return {};
    char text[INET6_ADDRSTRLEN];
    if (inet_ntop(AF_INET6, data.data(), text, sizeof text) == nullptr) return {};
    return text;
}

std::string Data6ToArpa(std::string_view data)
{
    std::string name;
    name.reserve(64 + kArpa6.size());
    for (size_t i = data.size(); i-- > 0;) {
        const auto byte = static_cast<unsigned char>(data[i]);
        name += kHex[byte & 0x0F];
        name += '.';
        name += kHex[byte >> 4];
        name += '.';
    }
    return name + std::string(kArpa6);
}

} // namespace quorvane
