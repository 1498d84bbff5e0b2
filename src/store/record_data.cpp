#include "store/record_data.h"

#include "store/zone_text.h"
#include "wire/addresses.h"
#include "wire/addresses6.h"
#include "wire/type_names.h"

namespace quorvane {

namespace {

constexpr size_t kMaxString = 255;

// Appends one string, split into pieces of at most 255 bytes.
void addString(Bytes& data, std::string_view text)
{
    do {
        const std::string_view piece = text.substr(0, kMaxString);
        data += static_cast<char>(piece.size());
        data += piece;
        text.remove_prefix(piece.size());
    } while (!text.empty());
}

// Reads the escape whose backslash stands at text[i] and moves i past it.
char unescape(std::string_view text, size_t& i)
{
    const std::string_view digits = text.substr(i + 1, 3);
    if (const auto value = parseNumber(digits); digits.size() == 3 && value && *value <= 255) {
        i += 4;
        return static_cast<char>(*value);
    }
    if (i + 1 < text.size()) {
        i += 2;
        return text[i - 1];
    }
    ++i; // a lone backslash at the end stands for itself
    return '\\';
}

void appendNumber(std::string& out, uint32_t value)
{
    out += ' ';
    out += std::to_string(value);
}

uint32_t readLong(std::string_view bytes)
{
    uint32_t value = 0;
    for (char c : bytes.substr(0, 4))
        value = value << 8 | static_cast<unsigned char>(c);
    return value;
}

} // namespace

std::optional<Bytes> prepareTxt(std::string_view text)
{
    Bytes data;
    size_t i = 0;
    while (i < text.size()) {
        if (text[i] == ' ') {
            ++i;
            continue;
        }
        const bool quoted = text[i] == '"';
        if (quoted) ++i;
        std::string piece;
        bool closed = !quoted;
        while (i < text.size()) {
            const char c = text[i];
            if (quoted && c == '"') {
                closed = true;
                ++i;
                break;
            }
            if (!quoted && c == ' ') break;
            if (c == '\\')
                piece += unescape(text, i);
            else {
                piece += c;
                ++i;
            }
        }
        if (!closed) return std::nullopt;
        addString(data, piece);
    }
    if (data.empty()) return std::nullopt;
    return data;
}

std::string txtText(std::string_view data)
{
    std::string text;
    while (!data.empty()) {
        const size_t length = static_cast<unsigned char>(data.front());
        const std::string_view piece = data.substr(1, length);
        data.remove_prefix(1 + piece.size());
        if (!text.empty()) text += ' ';
        text += '"';
        for (char c : piece) {
            const auto byte = static_cast<unsigned char>(c);
            if (c == '"' || c == '\\') {
                text += '\\';
                text += c;
            } else if (byte < ' ' || byte > '~' || c == ';') {
                const std::string digits = std::to_string(byte);
                text += '\\';
                text += std::string(3 - digits.size(), '0') + digits;
            } else {
                text += c;
            }
        }
        text += '"';
    }
    return text;
}

Bytes makeSoaData(const SoaFields& soa)
{
    Bytes data = soa.primary + '\0' + soa.mailbox + '\0';
    for (uint32_t value : {soa.serial, soa.refresh, soa.retry, soa.expire, soa.minimum})
        for (int shift = 24; shift >= 0; shift -= 8)
            data += static_cast<char>(value >> shift & 0xff);
    return data;
}

std::optional<SoaFields> readSoa(std::string_view data)
{
    const size_t first = data.find('\0');
    if (first == std::string_view::npos) return std::nullopt;
    const size_t second = data.find('\0', first + 1);
    if (second == std::string_view::npos || data.size() - second - 1 < 20) return std::nullopt;
    SoaFields soa{std::string(data.substr(0, first)),
                  std::string(data.substr(first + 1, second - first - 1))};
    std::string_view numbers = data.substr(second + 1);
    for (uint32_t* field : {&soa.serial, &soa.refresh, &soa.retry, &soa.expire, &soa.minimum}) {
        *field = readLong(numbers);
        numbers.remove_prefix(4);
    }
    return soa;
}

std::optional<std::string> recordDataText(const clDNSRecord& record)
{
    const std::string_view data = record.Data;
    switch (record.RecType) {
    case rtype::A:
        if (data.size() != 4) return std::nullopt;
        return "A " + DataToIP(data);
    case rtype::AAAA:
        if (data.size() != 16) return std::nullopt;
        return "AAAA " + Data6ToText(data);
    case rtype::NS:
    case rtype::CNAME:
    case rtype::PTR:
        if (!storableName(data)) return std::nullopt;
        return RTypeN(record.RecType) + " " + record.Data;
    case rtype::MX:
        if (!storableName(data) || record.Pref < 0 || record.Pref > 65535) return std::nullopt;
        return "MX " + std::to_string(record.Pref) + " " + record.Data;
    case rtype::SOA: {
        const auto soa = readSoa(data);
        if (!soa || !storableName(soa->primary) || !storableName(soa->mailbox)) return std::nullopt;
        std::string text = "SOA " + soa->primary + " " + soa->mailbox;
        for (uint32_t value : {soa->serial, soa->refresh, soa->retry, soa->expire, soa->minimum})
            appendNumber(text, value);
        return text;
    }
    case rtype::TXT:
        if (data.empty()) return std::nullopt;
        return "TXT " + txtText(data);
    default:
        return std::nullopt;
    }
}

} // namespace quorvane
