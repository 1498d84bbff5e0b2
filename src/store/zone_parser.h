// Reads the zone-file format: one record per line, "(" ... ")" over several lines, ";" comments,
// "@" and blank owners, optional TTL and class, the type words of the record-type table and DFCN
// (every type is read; the store decides which it keeps). Text in, records out: it never touches
// the store or a file itself, and never throws for any input.
#pragma once

#include "net/bytes.h"

#include <cstdint>
#include <functional>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

// A record line as read: owner and names in data absolute and lower case, data in stored form.
struct ZoneRecord
{
    std::string owner;
    int16_t type = 0;
    int32_t ttl = 0;
    Bytes data;
    int32_t pref = 0;
};

// The zone settings that special comment lines carry.
struct ZoneComments
{
    std::string primaryIP;           // "; PRIMARYIP " line, the last one counts
    std::vector<std::string> notify; // "; NOTIFY " lines, every address of every line
    bool notSecure = false;          // "; NOTSECURE" line
};

// The TTL of a record line that gives none.
inline constexpr int32_t kDefaultZoneTTL = 86400;

// Reads every line of in, names relative to origin ("zone." or "."), and passes each record that
// fits to onRecord; a line that does not fit is skipped without a word. With comments given, the
// special comment lines fill it; otherwise they are plain comments.
void readZoneText(std::istream& in, std::string_view origin,
                  const std::function<void(ZoneRecord&&)>& onRecord, ZoneComments* comments);

// As readZoneText, and tells with each record the lines it was read from: the first (counted from
// 0) and the one after its last, so that a zone editor can change a record and keep the rest.
void readZoneLines(std::istream& in, std::string_view origin,
                   const std::function<void(ZoneRecord&&, size_t firstLine, size_t endLine)>& onRecord,
                   ZoneComments* comments);

} // namespace quorvane
