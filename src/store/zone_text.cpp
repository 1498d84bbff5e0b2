#include "store/zone_text.h"

#include "net/network.h"

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
    const auto address = addressFromText(text);
    if (!address) return std::nullopt;
    Bytes data(4, '\0');
    for (size_t i = 0; i < 4; ++i) data[i] = static_cast<char>(*address >> (24 - 8 * i) & 0xFF);
    return data;
}

bool plainWord(std::string_view word)
{
    if (word.empty()) return false;
    for (char c : word)
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))) return false;
    return true;
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
