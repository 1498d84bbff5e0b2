#include "replication/zone_document.h"

#include "store/record_data.h"
#include "store/zone_text.h"

#include <cctype>
#include <sstream>

namespace quorvane {

namespace {

bool startsWithBlank(std::string_view line)
{
    return !line.empty() && (line.front() == ' ' || line.front() == '\t' || line.front() == '\r');
}

// The owner as a zone file writes it: relative to the origin where that reads back the same.
std::string ownerText(std::string_view owner, std::string_view origin)
{
    if (owner == origin) return "@";
    if (origin != "." && owner.size() > origin.size() + 1 && owner.ends_with(origin) &&
        owner[owner.size() - origin.size() - 1] == '.') {
        const std::string_view relative = owner.substr(0, owner.size() - origin.size() - 1);
        if (relative != "@") return std::string(relative);
    }
    return std::string(owner);
}

// Where a word of a line begins and how long it is.
struct WordAt
{
    size_t line, column, length;
};

// The words of a record's lines as the reader sees them: comments cut, parentheses and tabs as
// blanks, nothing after a ")".
std::vector<WordAt> wordsOf(const std::vector<std::string>& lines, size_t first, size_t end)
{
    std::vector<WordAt> words;
    for (size_t l = first; l < end; ++l) {
        const std::string_view line = std::string_view(lines[l]).substr(0, lines[l].find(';'));
        for (size_t i = 0; i < line.size();) {
            const auto separator = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '('; };
            if (line[i] == ')') return words;
            if (separator(line[i])) {
                ++i;
                continue;
            }
            const size_t start = i;
            while (i < line.size() && !separator(line[i]) && line[i] != ')')
                ++i;
            words.push_back({l, start, i - start});
        }
    }
    return words;
}

bool isSoaWord(std::string_view word)
{
    return word.size() == 3 && (word[0] | 0x20) == 's' && (word[1] | 0x20) == 'o' && (word[2] | 0x20) == 'a';
}

bool isTransferSetting(std::string_view line)
{
    const auto starts = [&](std::string_view prefix) {
        if (line.size() < prefix.size()) return false;
        for (size_t i = 0; i < prefix.size(); ++i)
            if (std::toupper(static_cast<unsigned char>(line[i])) != prefix[i]) return false;
        return true;
    };
    return starts("; NOTIFY ") || starts("; NOTSECURE");
}

bool looksLikeDate(uint32_t serial)
{
    const uint32_t year = serial / 1000000, month = serial / 10000 % 100, day = serial / 100 % 100;
    return year >= 1970 && month >= 1 && month <= 12 && day >= 1 && day <= 31;
}

} // namespace

bool sameRecord(const ZoneRecord& a, const ZoneRecord& b)
{
    return a.owner == b.owner && a.type == b.type && a.ttl == b.ttl && a.data == b.data && a.pref == b.pref;
}

std::optional<std::string> zoneRecordLine(const ZoneRecord& record, std::string_view origin)
{
    if (!storableName(record.owner) || record.owner.front() == '$' || record.ttl < 0) return std::nullopt;
    clDNSRecord stored;
    stored.RecType = record.type;
    stored.Data = record.data;
    stored.Pref = record.pref;
    const auto data = recordDataText(stored);
    if (!data) return std::nullopt;
    std::string line = ownerText(record.owner, origin) + ' ' + std::to_string(record.ttl) + ' ' + *data;
    const auto back = readRecordLine(line, origin);
    if (!back || !sameRecord(*back, record)) return std::nullopt;
    return line;
}

std::optional<ZoneRecord> readRecordLine(std::string_view line, std::string_view origin)
{
    if (line.find('\n') != std::string_view::npos) return std::nullopt;
    std::istringstream in{std::string(line)};
    std::optional<ZoneRecord> found;
    readZoneText(
        in, origin, [&](ZoneRecord&& record) { found = std::move(record); }, nullptr);
    return found;
}

uint32_t nextSerial(uint32_t serial, int year, int month, int day)
{
    const uint64_t today = static_cast<uint64_t>(year * 10000 + month * 100 + day) * 100;
    if (looksLikeDate(serial) && serial < today && today <= UINT32_MAX) return static_cast<uint32_t>(today);
    return serial + 1;
}

ZoneDocument::ZoneDocument(std::string origin, std::string text)
    : m_origin(std::move(origin)), m_original(std::move(text))
{
    std::string_view rest = m_original;
    m_finalNewline = rest.ends_with('\n');
    if (m_finalNewline) rest.remove_suffix(1);
    // Lines as getline gives them: "a\n" is one line, "" none.
    while (!m_original.empty()) {
        const size_t end = rest.find('\n');
        m_lines.emplace_back(rest.substr(0, end));
        if (end == std::string_view::npos) break;
        rest.remove_prefix(end + 1);
    }
    reread();
}

std::string ZoneDocument::text() const
{
    std::string out;
    for (size_t i = 0; i < m_lines.size(); ++i) {
        out += m_lines[i];
        if (i + 1 < m_lines.size() || m_finalNewline) out += '\n';
    }
    return out;
}

void ZoneDocument::reread()
{
    m_records.clear();
    m_comments = {};
    std::istringstream in(text());
    readZoneLines(
        in, m_origin,
        [&](ZoneRecord&& record, size_t first, size_t end) {
            m_records.push_back({std::move(record), first, end});
        },
        &m_comments);
}

void ZoneDocument::pinOwner(size_t index)
{
    if (index >= m_records.size()) return;
    std::string& line = m_lines[m_records[index].firstLine];
    if (startsWithBlank(line)) line.insert(0, ownerText(m_records[index].record.owner, m_origin));
}

bool ZoneDocument::add(const ZoneRecord& record)
{
    const auto line = zoneRecordLine(record, m_origin);
    if (!line) return false;
    size_t at = m_lines.size();
    size_t next = m_records.size();
    for (size_t i = 0; i < m_records.size(); ++i)
        if (m_records[i].record.owner == record.owner) {
            at = m_records[i].endLine;
            next = i + 1;
        }
    pinOwner(next);
    if (at == m_lines.size()) m_finalNewline = true; // the old last line ends, the new one follows
    m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(at), *line);
    reread();
    return true;
}

bool ZoneDocument::replace(size_t index, const ZoneRecord& record)
{
    if (index >= m_records.size()) return false;
    const auto line = zoneRecordLine(record, m_origin);
    if (!line) return false;
    pinOwner(index + 1);
    const ZoneEntry& entry = m_records[index];
    const auto first = m_lines.begin() + static_cast<std::ptrdiff_t>(entry.firstLine);
    m_lines.erase(first + 1, m_lines.begin() + static_cast<std::ptrdiff_t>(entry.endLine));
    *first = *line;
    reread();
    return true;
}

bool ZoneDocument::remove(size_t index)
{
    if (index >= m_records.size()) return false;
    pinOwner(index + 1);
    const ZoneEntry& entry = m_records[index];
    m_lines.erase(m_lines.begin() + static_cast<std::ptrdiff_t>(entry.firstLine),
                  m_lines.begin() + static_cast<std::ptrdiff_t>(entry.endLine));
    reread();
    return true;
}

void ZoneDocument::setTransferSettings(const std::vector<std::string>& notify, bool notSecure)
{
    std::vector<std::string> lines;
    if (!notify.empty()) {
        lines.emplace_back("; Notify");
        for (const std::string& address : notify)
            lines.back() += ' ' + address;
    }
    if (notSecure) lines.emplace_back("; NotSecure");
    size_t at = 0;
    for (size_t i = m_lines.size(); i-- > 0;)
        if (isTransferSetting(m_lines[i])) {
            m_lines.erase(m_lines.begin() + static_cast<std::ptrdiff_t>(i));
            at = i;
        }
    if (m_lines.empty() && !lines.empty()) m_finalNewline = true;
    m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(at), lines.begin(), lines.end());
    reread();
}

std::optional<size_t> ZoneDocument::soaIndex() const
{
    for (size_t i = 0; i < m_records.size(); ++i)
        if (m_records[i].record.type == rtype::SOA && m_records[i].record.owner == m_origin) return i;
    return std::nullopt;
}

std::optional<uint32_t> ZoneDocument::serial() const
{
    const auto index = soaIndex();
    if (!index) return std::nullopt;
    const auto soa = readSoa(m_records[*index].record.data);
    return soa ? std::optional<uint32_t>(soa->serial) : std::nullopt;
}

bool ZoneDocument::setSerial(uint32_t serial)
{
    const auto index = soaIndex();
    if (!index) return false;
    const ZoneEntry entry = m_records[*index];
    auto soa = readSoa(entry.record.data);
    if (!soa) return false;
    // The serial is the third word after "SOA"; the owner, when the line names one, comes first.
    const std::vector<WordAt> words = wordsOf(m_lines, entry.firstLine, entry.endLine);
    const auto wordText = [&](const WordAt& word) {
        return std::string_view(m_lines[word.line]).substr(word.column, word.length);
    };
    size_t at = startsWithBlank(m_lines[entry.firstLine]) ? 0 : 1;
    while (at < words.size() && !isSoaWord(wordText(words[at])))
        ++at;
    if (at + 3 < words.size()) {
        const std::vector<std::string> before = m_lines;
        const WordAt word = words[at + 3];
        m_lines[word.line].replace(word.column, word.length, std::to_string(serial));
        reread();
        const bool kept = *index < m_records.size() && m_records[*index].endLine == entry.endLine;
        if (kept && this->serial() == serial) return true;
        m_lines = before;
        reread();
    }
    // A layout this search does not follow: the SOA is written anew on one line.
    soa->serial = serial;
    ZoneRecord record = entry.record;
    record.data = makeSoaData(*soa);
    return replace(*index, record);
}

} // namespace quorvane
