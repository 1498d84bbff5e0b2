// The zone-file commands of quorvane-ctl (zones, records, add-record, delete-record, set-serial):
// each reads the zone files under the program folder's data/, changes one through the zone-editing
// library and prints what it did. Sends nothing itself: a change names the reload to send.
#pragma once

#include "ctl_command_line.h"

#include <filesystem>
#include <string>

namespace quorvane {

struct ZoneCommandResult
{
    std::string error;  // one line when the command failed
    std::string reload; // the reload-port command that makes the server take the change up
};

ZoneCommandResult runZoneCommand(const CtlCommandLine& cl, const std::filesystem::path& folder);

} // namespace quorvane
