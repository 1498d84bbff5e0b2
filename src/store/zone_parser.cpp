// The zone-file reader: lines joined and cut into words, and each record's data read field by
// field as the record-type table describes its type.
#include "store/zone_parser.h"

#include "store/dns_record.h"
#include "store/record_data.h"
#include "store/zone_text.h"
#include "wire/addresses6.h"

#include <algorithm>
#include <limits>

namespace quorvane {

namespace {

// A record that needs more than this, even spread over lines in parentheses, is not a record of
// this format; the rest of an endless one is read and dropped so that memory stays bounded.
constexpr size_t kMaxLogicalLine = 1 << 20;

bool startsUpper(std::string_view line, std::string_view prefix)
{
    if (line.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        char c = line[i];
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        if (c != prefix[i]) return false;
    }
    return true;
}

std::string_view trimBlanks(std::string_view text)
{
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Steps 1 and 2 of every line: the comment cut off, tabs and carriage returns made blanks.
std::string cleanLine(std::string_view raw)
{
    std::string line(raw.substr(0, raw.find(';')));
    for (char& c : line)
        if (c == '\t' || c == '\r') c = ' ';
    return line;
}

// The first c at or after from that stands outside a quoted TXT string.
size_t findUnquoted(std::string_view line, char c, size_t from)
{
    bool quoted = false;
    for (size_t i = from; i < line.size(); ++i) {
        if (line[i] == '\\')
            ++i;
        else if (line[i] == '"')
            quoted = !quoted;
        else if (!quoted && line[i] == c)
            return i;
    }
    return std::string_view::npos;
}

bool readSpecialComment(std::string_view raw, ZoneComments& comments)
{
    if (startsUpper(raw, "; PRIMARYIP ")) {
        const std::string rest = cleanLine(raw.substr(12));
        comments.primaryIP = std::string(trimBlanks(rest));
    } else if (startsUpper(raw, "; NOTIFY ")) {
        const std::string rest = cleanLine(raw.substr(9));
        for (size_t start = 0; start < rest.size();) {
            const size_t end = std::min(rest.find(' ', start), rest.size());
            if (end > start) comments.notify.push_back(rest.substr(start, end - start));
            start = end + 1;
        }
    } else if (startsUpper(raw, "; NOTSECURE")) {
        comments.notSecure = true;
    } else {
        return false;
    }
    return true;
}

// The fields of a record line after the owner, with the position where each starts.
struct Token
{
    std::string_view text;
    size_t end;
};

std::vector<Token> tokens(std::string_view line)
{
    std::vector<Token> out;
    size_t i = 0;
    while (i < line.size()) {
        if (line[i] == ' ') {
            ++i;
            continue;
        }
        const size_t end = std::min(line.find(' ', i), line.size());
        out.push_back({line.substr(i, end - i), end});
        i = end;
    }
    return out;
}

class LineParser
{
public:
    explicit LineParser(std::string_view origin) : m_origin(origin) {}

    // One logical line, parentheses already joined.
    bool parse(std::string_view line, ZoneRecord& record);

private:
    bool readOwner(std::string_view& line, std::string& owner);
    bool readName(std::string_view token, std::string& name) const;
    bool readData(const std::string& type, const std::vector<Token>& fields, size_t next,
                  std::string_view line, ZoneRecord& record) const;
    bool readField(Field field, std::string_view token, std::string_view rest, bool last,
                   ZoneRecord& record) const;

    std::string m_origin;
    std::string m_previousOwner; // empty until a line names an owner
};

bool LineParser::readName(std::string_view token, std::string& name) const
{
    name = absoluteName(m_origin, lowerAscii(token));
    return storableName(name);
}

bool LineParser::readOwner(std::string_view& line, std::string& owner)
{
    if (line.front() != ' ') {
        const size_t end = std::min(line.find(' '), line.size());
        const std::string_view token = line.substr(0, end);
        line.remove_prefix(end);
        // "$ORIGIN", "$TTL" and "$INCLUDE" are not part of this format: such a line is skipped and
        // leaves the owner of blank-owner lines as it was.
        if (token.front() == '$') return false;
        if (!readName(token, m_previousOwner)) m_previousOwner.clear();
    }
    owner = m_previousOwner;
    return !owner.empty();
}

bool LineParser::parse(std::string_view line, ZoneRecord& record)
{
    if (trimBlanks(line).empty() || !readOwner(line, record.owner)) return false;
    const std::vector<Token> fields = tokens(line);
    size_t next = 0;
    bool haveTTL = false, haveClass = false;
    record.ttl = kDefaultZoneTTL;
    for (; next < fields.size(); ++next) {
        const std::string_view field = fields[next].text;
        const auto number = parseNumber(field);
        // A TTL is written plainly: "0600" is no TTL (and, read as a type, drops the line).
        if (!haveTTL && number && (field.size() == 1 || field.front() != '0')) {
            if (*number > static_cast<uint32_t>(std::numeric_limits<int32_t>::max())) return false;
            record.ttl = static_cast<int32_t>(*number);
            haveTTL = true;
        } else if (!haveClass && startsUpper(field, "IN") && field.size() == 2) {
            haveClass = true;
        } else if (startsUpper(field, "CH") && field.size() == 2) {
            return false; // chaos-class records are not served
        } else {
            break;
        }
    }
    if (next >= fields.size()) return false;
    std::string type(fields[next].text);
    for (char& c : type)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return readData(type, fields, next + 1, line, record);
}

bool LineParser::readData(const std::string& type, const std::vector<Token>& fields, size_t next,
                          std::string_view line, ZoneRecord& record) const
{
    record.pref = 0;
    record.data.clear();
    if (type == "DFCN") { // the store's forwarding entry, written like a CNAME
        record.type = rtype::DFCN;
        return next < fields.size() && readName(fields[next].text, record.data);
    }
    const RecordType* row = findRecordType(type);
    if (row == nullptr) return false; // a type this format does not carry
    record.type = row->code;
    size_t index = 0;
    for (const Field field : row->fields) {
        if (next >= fields.size()) return false;
        // Strings take the rest of the line, blanks and all.
        const std::string_view rest = trimBlanks(line.substr(fields[next].end - fields[next].text.size()));
        if (!readField(field, fields[next++].text, rest, ++index == row->fields.size(), record)) return false;
    }
    return true; // words after the last field are passed over
}

bool LineParser::readField(Field field, std::string_view token, std::string_view rest, bool last,
                           ZoneRecord& record) const
{
    std::optional<Bytes> bytes;
    switch (field) {
    case Field::Name: {
        std::string name;
        if (!readName(token, name)) return false;
        bytes = std::move(name);
        break;
    }
    case Field::Preference: {
        // The preference's integer part counts, its sign is dropped: "-10.5" reads as 10.
        if (token.front() == '-' || token.front() == '+') token.remove_prefix(1);
        const auto value = parseNumber(token.substr(0, token.find('.')));
        if (!value || *value > 65535) return false;
        record.pref = static_cast<int32_t>(*value);
        return true;
    }
    case Field::Number8:
    case Field::Number16:
    case Field::Number32: {
        const size_t size = fieldSize(field);
        const auto value = parseNumber(token);
        if (!value || (size < 4 && *value >> (8 * size) != 0)) return false;
        bytes.emplace();
        for (size_t shift = size; shift-- > 0;) *bytes += static_cast<char>(*value >> (8 * shift) & 0xFF);
        break;
    }
    case Field::IPv4: bytes = parseAddress(token); break;
    case Field::IPv6: bytes = parseAddress6(token); break;
    case Field::Strings: bytes = prepareTxt(rest); break;
    case Field::Tag:
        if (token.size() > 255 || !plainWord(token)) return false;
        bytes = static_cast<char>(token.size()) + std::string(token);
        break;
    case Field::Rest: bytes = prepareString(rest); break;
    }
    if (!bytes) return false;
    addStoredField(record.data, field, *bytes, last);
    return true;
}

// Cuts a continuation line at its own comment and its ")"; true when the ")" was there.
bool addContinuation(std::string& logical, std::string_view raw, bool& tooLong)
{
    std::string part = cleanLine(raw);
    const size_t close = findUnquoted(part, ')', 0);
    if (close != std::string::npos) part.resize(close);
    for (size_t open = findUnquoted(part, '(', 0); open != std::string::npos;
         open = findUnquoted(part, '(', open))
        part[open] = ' ';
    const std::string_view trimmed = trimBlanks(part);
    if (logical.size() + trimmed.size() + 1 > kMaxLogicalLine) tooLong = true;
    if (!tooLong) {
        logical += ' ';
        logical += trimmed;
    }
    return close != std::string::npos;
}

} // namespace

void readZoneText(std::istream& in, std::string_view origin,
                  const std::function<void(ZoneRecord&&)>& onRecord, ZoneComments* comments)
{
    readZoneLines(in, origin, [&](ZoneRecord&& record, size_t, size_t) { onRecord(std::move(record)); },
                  comments);
}

void readZoneLines(std::istream& in, std::string_view origin,
                   const std::function<void(ZoneRecord&&, size_t, size_t)>& onRecord, ZoneComments* comments)
{
    LineParser parser(origin);
    std::string raw;
    size_t linesRead = 0;
    while (std::getline(in, raw)) {
        const size_t firstLine = linesRead++;
        if (comments && readSpecialComment(raw, *comments)) continue;
        std::string logical = cleanLine(raw);
        bool tooLong = logical.size() > kMaxLogicalLine;
        // "(" opens a record that goes on over the following lines until one holds ")"; the end
        // of the file ends it too. Besides the "(" at the end of a line, one in the middle
        // ("( 2024010101 ; serial") and a pair on one line are read the same way.
        if (const size_t open = findUnquoted(logical, '(', 0); open != std::string::npos) {
            logical[open] = ' ';
            const size_t close = findUnquoted(logical, ')', open);
            if (close != std::string::npos)
                logical.resize(close);
            else
                while (std::getline(in, raw) && (++linesRead, !addContinuation(logical, raw, tooLong))) {
                }
        }
        ZoneRecord record;
        if (!tooLong && parser.parse(logical, record)) onRecord(std::move(record), firstLine, linesRead);
    }
}

} // namespace quorvane
