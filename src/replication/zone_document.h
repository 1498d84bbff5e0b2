// A zone file's text open for editing: its records with the lines each was read from, changed one
// record at a time so that every other line (comments, blank lines, the layout of records not
// touched) stays as it was. Text in, text out: no file, no clock.
#pragma once

#include "store/zone_parser.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

// A record of the file and the lines [firstLine, endLine) it was read from.
struct ZoneEntry
{
    ZoneRecord record;
    size_t firstLine = 0, endLine = 0;
};

class ZoneDocument
{
public:
    // Reads text as the zone file of origin ("zone." or ".").
    ZoneDocument(std::string origin, std::string text);

    const std::string& origin() const { return m_origin; }
    const std::vector<ZoneEntry>& records() const { return m_records; }
    const ZoneComments& comments() const { return m_comments; }
    // The text as it stands now; the text it was read from while nothing changed.
    std::string text() const;
    const std::string& originalText() const { return m_original; }
    bool modified() const { return text() != m_original; }
    // After a save: the text as it stands becomes the one read.
    void markSaved() { m_original = text(); }

    // Each returns false, changing nothing, when the record has no line that reads back the same
    // (a type without a row, data no zone file can carry) or the index is out of range.
    // add puts the new line after the last record of the same owner, else at the end.
    bool add(const ZoneRecord& record);
    bool replace(size_t index, const ZoneRecord& record);
    bool remove(size_t index);

    // The zone's serial: from the SOA record owned by the origin; nothing without one.
    std::optional<uint32_t> serial() const;
    // Writes the number in place of the old serial, keeping the SOA's layout and comments; false
    // without an SOA.
    bool setSerial(uint32_t serial);

    // Writes the "; Notify" and "; NotSecure" lines anew where the first of them stood (else at
    // the top), one "; Notify" line for all the addresses; other comment lines stay.
    void setTransferSettings(const std::vector<std::string>& notify, bool notSecure);

private:
    void reread();
    // A record line that starts with a blank takes the owner of the line above; before that line
    // changes, the record's owner is written out on its own line.
    void pinOwner(size_t index);
    std::optional<size_t> soaIndex() const;

    std::string m_origin;
    std::string m_original;
    std::vector<std::string> m_lines;
    bool m_finalNewline = false;
    std::vector<ZoneEntry> m_records;
    ZoneComments m_comments;
};

// The record as one zone-file line: owner relative to origin ("@" for the origin), TTL, type
// word and data ("www 3600 A 10.0.0.1"). Nothing when no line reads back as this record.
std::optional<std::string> zoneRecordLine(const ZoneRecord& record, std::string_view origin);

// The one record a line of zone-file text ("www 3600 A 10.0.0.1") stands for under origin;
// nothing when the line holds no record.
std::optional<ZoneRecord> readRecordLine(std::string_view line, std::string_view origin);

// The serial after a change: today's date form YYYYMMDD00 when serial looks like a date
// (YYYYMMDDnn) from before today, else serial + 1.
uint32_t nextSerial(uint32_t serial, int year, int month, int day);

bool sameRecord(const ZoneRecord& a, const ZoneRecord& b);

} // namespace quorvane
