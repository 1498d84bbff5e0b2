#include "dhcp/dhcp_options.h"

#include "dhcp/lease_table.h"
#include "net/network.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string>

namespace quorvane {

namespace {

constexpr size_t kMaxData = 255;

std::string_view trim(std::string_view text)
{
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

// The parts of text between commas, trimmed; an empty part makes the list unusable.
std::optional<std::vector<std::string_view>> commaList(std::string_view text)
{
    std::vector<std::string_view> parts;
    for (;;) {
        const auto comma = text.find(',');
        parts.push_back(trim(text.substr(0, comma)));
        if (parts.back().empty()) return std::nullopt;
        if (comma == std::string_view::npos) return parts;
        text.remove_prefix(comma + 1);
    }
}

void putNumber(Bytes& out, uint32_t value, int bytes)
{
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) out += static_cast<char>(value >> shift & 0xFF);
}

std::optional<uint32_t> number(std::string_view text)
{
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
    return value;
}

std::optional<Bytes> addresses(std::string_view text)
{
    const auto parts = commaList(text);
    if (!parts) return std::nullopt;
    Bytes out;
    for (const auto part : *parts) {
        const auto address = addressFromText(part);
        if (!address) return std::nullopt;
        putNumber(out, *address, 4);
    }
    return out;
}

std::optional<Bytes> quoted(std::string_view text)
{
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') return std::nullopt;
    text = text.substr(1, text.size() - 2);
    if (text.empty() || text.find('"') != std::string_view::npos) return std::nullopt;
    return Bytes(text);
}

std::optional<Bytes> hex(std::string_view text)
{
    if (!text.starts_with("hex:") && !text.starts_with("HEX:")) return std::nullopt;
    text.remove_prefix(4);
    if (text.empty() || text.size() % 2 != 0 ||
        !std::all_of(text.begin(), text.end(), [](char c) { return std::isxdigit(static_cast<unsigned char>(c)); }))
        return std::nullopt;
    return HexToHW(text);
}

// A list of domain names, each in wire form without compression.
std::optional<Bytes> searchList(std::string_view text)
{
    const auto inQuotes = quoted(text);
    std::string names(inQuotes ? std::string_view(*inQuotes) : text);
    std::replace(names.begin(), names.end(), ' ', ',');
    names.erase(std::unique(names.begin(), names.end(), [](char a, char b) { return a == ',' && b == ','; }),
                names.end());
    const auto parts = commaList(trim(names));
    if (!parts) return std::nullopt;
    Bytes out;
    for (std::string_view name : *parts) {
        if (name.ends_with('.')) name.remove_suffix(1);
        for (;;) {
            const auto dot = name.find('.');
            const std::string_view label = name.substr(0, dot);
            const bool valid = std::all_of(label.begin(), label.end(), [](char c) {
                return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_';
            });
            if (label.empty() || label.size() > 63 || !valid) return std::nullopt;
            out += static_cast<char>(label.size());
            out += label;
            if (dot == std::string_view::npos) break;
            name.remove_prefix(dot + 1);
        }
        out += '\0';
    }
    return out;
}

// "DEST/BITS ROUTER" for each route: the width, the significant bytes of the destination, the router.
std::optional<Bytes> routes(std::string_view text)
{
    const auto parts = commaList(text);
    if (!parts) return std::nullopt;
    Bytes out;
    for (const auto part : *parts) {
        const auto slash = part.find('/');
        const auto blank = part.find(' ');
        if (slash == std::string_view::npos || blank == std::string_view::npos || blank < slash) return std::nullopt;
        const auto destination = addressFromText(part.substr(0, slash));
        const auto width = number(part.substr(slash + 1, blank - slash - 1));
        const auto router = addressFromText(trim(part.substr(blank + 1)));
        if (!destination || !width || !router || *width > 32) return std::nullopt;
        if (*width < 32 && (*destination & (0xFFFFFFFFu >> *width)) != 0) return std::nullopt; // host bits set
        out += static_cast<char>(*width);
        for (uint32_t i = 0; i < (*width + 7) / 8; ++i) out += static_cast<char>(*destination >> (24 - 8 * i) & 0xFF);
        putNumber(out, *router, 4);
    }
    return out;
}

// Codes the server writes itself, or that belong to the exchange.
bool reserved(int code)
{
    static constexpr int kOwn[] = {0, 1, 3, 6, 12, 15, 50, 51, 52, 53, 54, 55, 61, 255};
    return std::find(std::begin(kOwn), std::end(kOwn), code) != std::end(kOwn);
}

std::optional<Bytes> anyForm(int code, std::string_view value)
{
    if (auto data = hex(value)) return data;
    if (auto data = quoted(value)) return data;
    if (auto data = addresses(value)) return data;
    if (const auto n = number(value)) {
        Bytes out;
        putNumber(out, *n, code == 26 || code == 22 || code == 57 ? 2 : 4);
        return out;
    }
    return std::nullopt;
}

} // namespace

std::optional<Bytes> encodeDhcpOption(int code, std::string_view value)
{
    value = trim(value);
    if (code < 0 || code > 255 || reserved(code)) return std::nullopt;
    std::optional<Bytes> data;
    switch (code) {
    case 42: // NTP servers
        data = addresses(value);
        break;
    case 119: // domain search list
        data = searchList(value);
        break;
    case 26: { // interface MTU: 68 bytes at least
        const auto mtu = number(value);
        if (mtu && *mtu >= 68 && *mtu <= 65535) data = anyForm(code, value);
        break;
    }
    case 121: // classless static routes
        data = routes(value);
        break;
    case 66: // TFTP server name
    case 67: // boot file name
        data = quoted(value);
        break;
    default:
        data = anyForm(code, value);
    }
    if (data && data->size() > kMaxData) return std::nullopt;
    return data;
}

std::vector<const DhcpOptionData*> inRequestOrder(const std::vector<DhcpOptionData>& options,
                                                  std::string_view requested)
{
    std::vector<const DhcpOptionData*> ordered;
    for (const char code : requested)
        for (const auto& option : options)
            if (option.first == static_cast<uint8_t>(code) &&
                std::find(ordered.begin(), ordered.end(), &option) == ordered.end())
                ordered.push_back(&option);
    for (const auto& option : options)
        if (std::find(ordered.begin(), ordered.end(), &option) == ordered.end()) ordered.push_back(&option);
    return ordered;
}

} // namespace quorvane
