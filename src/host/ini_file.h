// quorvane.ini: one "Key: value" line per setting, no sections. Reading never fails: a line that
// cannot be used contributes nothing, and a missing file or key leaves the default.
#pragma once

#include "host/settings.h"
#include "wire/clean_name.h" // CleanName, used on NAME and the DHCP domain

#include <filesystem>
#include <string>
#include <string_view>

namespace quorvane {

inline constexpr const char* kIniFileName = "quorvane.ini";

// The settings a file's text holds, starting from the defaults.
Settings parseIni(std::string_view text);
// The file's text for these settings, in the fixed order; flags only where they differ from the
// default. reloadPort is the port of the reload socket, written for companion tools.
std::string formatIni(const Settings& settings, uint16_t reloadPort);

// The value of a Forward line ("DOMAIN ADDRESS..."), an empty domain when unusable; and of a
// DHCPFixed line ("CLIENT ADDRESS NAME"), an empty client when unusable. The options dialog reads
// its tables' rows with them too.
ForwardRule parseForwardLine(std::string_view value);
DhcpFixed parseFixedLine(std::string_view value);

// Reads programFolder/quorvane.ini; a missing or unreadable file gives the defaults.
Settings LoadINI(const std::filesystem::path& programFolder);
// Replaces programFolder/quorvane.ini whole; false when it cannot be written.
bool SaveINI(const std::filesystem::path& programFolder, const Settings& settings, uint16_t reloadPort);

// The main window's caption: NAME + " - Quorvane", or "Quorvane" while NAME is empty.
std::string mainCaption(const Settings& settings);

} // namespace quorvane
