#include "store/zone_text.h"

namespace quorvane {

std::string lowerAscii(std::string_view text)
{
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

std::string absoluteName(std::string_view origin, std::string_view token)
{
    if (token == "@") return std::string(origin);
    if (token.ends_with('.')) return std::string(token);
    std::string name(token);
    name += '.';
    if (origin != ".") name += origin;
    return name;
}

bool storableName(std::string_view name)
{
    if (name == ".") return true;
    if (name.empty() || name.size() > 255 || !name.ends_with('.')) return false;
    size_t label = 0;
    for (char c : name) {
        if (c == '.') {
            if (label == 0) return false;
            label = 0;
            continue;
        }
        const bool visible = c > ' ' && c < 127;
        const bool syntax = c == ';' || c == '(' || c == ')' || c == '"';
        if (!visible || syntax || (c >= 'A' && c <= 'Z') || ++label > 63) return false;
    }
    return true;
}

std::optional<Bytes> parseAddress(std::string_view text)
{
    Bytes data;
    for (int part = 0; part < 4; ++part) {
        if (part > 0) {
            if (text.empty() || text.front() != '.') return std::nullopt;
            text.remove_prefix(1);
        }
        size_t digits = 0;
        unsigned value = 0;
        while (digits < text.size() && digits < 4 && text[digits] >= '0' && text[digits] <= '9')
            value = value * 10 + static_cast<unsigned>(text[digits++] - '0');
        if (digits == 0 || digits > 3 || value > 255) return std::nullopt;
        data += static_cast<char>(value);
        text.remove_prefix(digits);
    }
    if (!text.empty()) return std::nullopt;
    return data;
}

std::optional<uint32_t> parseNumber(std::string_view token)
{
    if (token.empty() || token.size() > 10) return std::nullopt;
    uint64_t value = 0;
    for (char c : token) {
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    if (value > UINT32_MAX) return std::nullopt;
    return static_cast<uint32_t>(value);
}

} // namespace quorvane
