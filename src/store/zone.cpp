#include "store/zone.h"

#include "store/zone_text.h"

namespace quorvane {

namespace {
constexpr std::string_view kRootFilePrefix = "_root.";
}

std::string zoneDisplayName(std::string_view zone)
{
    return zone == "." ? "<root>" : std::string(zone);
}

std::string zoneFileName(std::string_view zone, std::string_view extension)
{
    return (zone == "." ? std::string(kRootFilePrefix) : std::string(zone)) + std::string(extension);
}

std::string zoneFromFileName(std::string_view fileName, std::string_view extension)
{
    if (fileName.size() <= extension.size() + 1 || !fileName.ends_with(extension)) return {};
    std::string zone = lowerAscii(fileName.substr(0, fileName.size() - extension.size()));
    if (zone == kRootFilePrefix) return ".";
    // ".dns" alone would name the root without saying so; only "_root.dns" does.
    if (zone == "." || !storableName(zone)) return {};
    return zone;
}

} // namespace quorvane
