// Zone files in data/ as the record editor and quorvane-ctl change them: listed, opened, saved
// with a raised serial (atomically, and only after asking when the file changed since it was
// opened). The one place that writes an own zone's file; the server is told by the reload port.
#pragma once

#include "replication/zone_document.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quorvane {

struct ZoneFileInfo
{
    std::string zone; // "zone." or "."
    std::filesystem::path path;
    bool secondary = false; // the file names a primary ("; PrimaryIP "): a copy, not to be edited
};

// The zone files of dataFolder (*.dns), by zone name; empty when the folder cannot be read.
std::vector<ZoneFileInfo> listZoneFiles(const std::filesystem::path& dataFolder);

// An open zone file: where it lives and its text as read.
struct OpenZone
{
    std::filesystem::path path;
    ZoneDocument document;
};

// Opens data/<zone>dns; nothing (error says why, in one line) when the file cannot be read.
std::optional<OpenZone> openZoneFile(const std::filesystem::path& dataFolder, std::string_view zone,
                                     std::string& error);

// Whether the file on disk is no longer the text the zone was read from (or is gone).
bool changedOnDisk(const OpenZone& zone);

enum class SaveOutcome { Saved, Unchanged, ChangedOnDisk, WriteFailed };

struct SaveOptions
{
    bool overwriteChanges = false;    // write even when the file changed on disk since it was read
    bool raiseSerial = true;          // see nextSerial; off when the serial was set by hand
    int year = 0, month = 0, day = 0; // today, for the date form of the serial
};

// Writes the zone when its text changed: the serial raised first, then the file replaced whole.
// A zone opened and saved without changes is not written at all.
SaveOutcome saveZoneFile(OpenZone& zone, const SaveOptions& options);

// A new zone's file: its SOA (primary server, "hostmaster" mailbox, serial YYYYMMDD00) and one NS
// record, both naming server ("ns1.office.test."). what is a zone name ("office.test") or a
// network whose reverse zone is wanted ("192.168.1.0/24"; /8, /16 or /24). Nothing when what is
// neither or server is no name.
struct NewZone
{
    std::string zone, text;
};
std::optional<NewZone> newZoneFile(std::string_view what, std::string_view server, int year, int month,
                                   int day);

} // namespace quorvane
