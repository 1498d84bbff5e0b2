// Stored record data field by field: taken apart, put together and turned into text, by the
// fields of the record-type table, which says what each type holds. Only the TXT text routine and
// the SOA helpers, which zone loading and transfers use for their own ends, name a type.
#include "store/record_data.h"

#include "store/zone_text.h"
#include "wire/addresses.h"
#include "wire/addresses6.h"

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

// Reads the string that starts at text[i] (blanks before it skipped), quoted or a bare word, and
// moves i past it. Nothing when no string is left or a quote stays open.
std::optional<std::string> readString(std::string_view text, size_t& i)
{
    while (i < text.size() && text[i] == ' ') ++i;
    if (i >= text.size()) return std::nullopt;
    const bool quoted = text[i] == '"';
    if (quoted) ++i;
    std::string piece;
    while (i < text.size()) {
        const char c = text[i];
        if (quoted && c == '"') {
            ++i;
            return piece;
        }
        if (!quoted && c == ' ') break;
        if (c == '\\')
            piece += unescape(text, i);
        else {
            piece += c;
            ++i;
        }
    }
    if (quoted) return std::nullopt;
    return piece;
}

// Appends piece as one quoted string, escaped as txtText promises.
void appendQuoted(std::string& text, std::string_view piece)
{
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

uint32_t readNumber(std::string_view bytes)
{
    uint32_t value = 0;
    for (char c : bytes)
        value = value << 8 | static_cast<unsigned char>(c);
    return value;
}

// The text of one stored field as a zone file writes it. With strict set, nothing for a field
// that would not read back the same.
std::optional<std::string> fieldText(Field field, std::string_view bytes, int32_t pref, bool strict)
{
    switch (field) {
    case Field::Name:
        if (strict && !storableName(bytes)) return std::nullopt;
        return std::string(bytes);
    case Field::Preference:
        if (strict && (pref < 0 || pref > 65535)) return std::nullopt;
        return std::to_string(pref);
    case Field::Number8:
    case Field::Number16:
    case Field::Number32: return std::to_string(readNumber(bytes));
    case Field::IPv4: return DataToIP(bytes);
    case Field::IPv6: return Data6ToText(bytes);
    case Field::Strings:
        if (strict && bytes.empty()) return std::nullopt;
        return txtText(bytes);
    case Field::Tag:
        if (strict && !plainWord(bytes.substr(1))) return std::nullopt;
        return std::string(bytes.substr(1));
    case Field::Rest: {
        std::string text;
        appendQuoted(text, bytes);
        return text;
    }
    }
    return std::nullopt;
}

// The fields of the record's data as text, each after a blank; nothing when the data does not
// fit its type's fields or, with strict set, a field would not read back the same.
std::optional<std::string> fieldsText(const RecordType& row, const clDNSRecord& record, bool strict)
{
    std::string text;
    std::string_view data = record.Data;
    size_t index = 0;
    for (const Field field : row.fields) {
        const auto bytes = takeStoredField(data, field, ++index == row.fields.size());
        if (!bytes) return std::nullopt;
        const auto piece = fieldText(field, *bytes, record.Pref, strict);
        if (!piece) return std::nullopt;
        text += ' ';
        text += field == Field::Preference && !strict ? "[" + *piece + "]" : *piece;
    }
    if (!data.empty()) return std::nullopt;
    return text;
}

} // namespace

std::optional<std::string_view> takeStoredField(std::string_view& data, Field field, bool last)
{
    size_t size = fieldSize(field);
    switch (field) {
    case Field::Name:
        size = last ? data.size() : data.find('\0');
        if (size == std::string_view::npos) return std::nullopt;
        break;
    case Field::Preference: return std::string_view{};
    case Field::Strings:
    case Field::Rest: size = data.size(); break;
    case Field::Tag:
        if (data.empty()) return std::nullopt;
        size = 1 + static_cast<unsigned char>(data.front());
        break;
    default: break;
    }
    if (data.size() < size) return std::nullopt;
    const std::string_view bytes = data.substr(0, size);
    data.remove_prefix(field == Field::Name && !last ? size + 1 : size);
    return bytes;
}

void addStoredField(Bytes& data, Field field, std::string_view bytes, bool last)
{
    if (field == Field::Preference) return;
    data += bytes;
    if (field == Field::Name && !last) data += '\0';
}

std::string_view dataName(const clDNSRecord& record)
{
    const RecordType* row = findRecordType(record.RecType);
    if (row == nullptr) return {};
    std::string_view data = record.Data;
    size_t index = 0;
    for (const Field field : row->fields) {
        const auto bytes = takeStoredField(data, field, ++index == row->fields.size());
        if (!bytes) return {};
        if (field == Field::Name) return *bytes;
    }
    return {};
}

std::optional<Bytes> prepareTxt(std::string_view text)
{
    Bytes data;
    for (size_t i = 0; text.find_first_not_of(' ', i) != std::string_view::npos;) {
        const auto piece = readString(text, i);
        if (!piece) return std::nullopt;
        addString(data, *piece);
    }
    if (data.empty()) return std::nullopt;
    return data;
}

std::optional<Bytes> prepareString(std::string_view text)
{
    size_t i = 0;
    return readString(text, i);
}

std::string txtText(std::string_view data)
{
    std::string text;
    while (!data.empty()) {
        const size_t length = static_cast<unsigned char>(data.front());
        const std::string_view piece = data.substr(1, length);
        data.remove_prefix(1 + piece.size());
        if (!text.empty()) text += ' ';
        appendQuoted(text, piece);
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
        *field = readNumber(numbers.substr(0, 4));
        numbers.remove_prefix(4);
    }
    return soa;
}

std::optional<std::string> recordDataText(const clDNSRecord& record)
{
    const RecordType* row = findRecordType(record.RecType);
    if (row == nullptr) return std::nullopt;
    const auto fields = fieldsText(*row, record, true);
    if (!fields) return std::nullopt;
    return std::string(row->mnemonic) + *fields;
}

std::string recordLogText(const clDNSRecord& record)
{
    const RecordType* row = findRecordType(record.RecType);
    if (row == nullptr) return {};
    if (row->log == LogForm::PrimaryAndSerial) {
        const auto soa = readSoa(record.Data);
        return soa ? soa->primary + " (Serial " + std::to_string(soa->serial) + ")" : std::string();
    }
    const auto fields = fieldsText(*row, record, false);
    return fields ? fields->substr(1) : std::string();
}

} // namespace quorvane
