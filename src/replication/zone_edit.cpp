#include "replication/zone_edit.h"

#include "net/atomic_file.h"
#include "store/zone.h"
#include "store/zone_text.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace quorvane {

namespace {

// Far more than any zone of a home network; a bigger file is not a zone file to edit here.
constexpr std::uintmax_t kMaxZoneFileBytes = 64u << 20;

std::optional<std::string> readWhole(const std::filesystem::path& path)
{
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    if (ec || size > kMaxZoneFileBytes) return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    if (!in) return std::nullopt;
    return std::move(text).str();
}

} // namespace

std::vector<ZoneFileInfo> listZoneFiles(const std::filesystem::path& dataFolder)
{
    std::vector<ZoneFileInfo> zones;
    std::error_code ec;
    for (const auto& item : std::filesystem::directory_iterator(dataFolder, ec)) {
        const std::string zone = zoneFromFileName(item.path().filename().string(), "dns");
        if (zone.empty() || !item.is_regular_file(ec)) continue;
        const ZoneDocument document(zone, readWhole(item.path()).value_or(""));
        zones.push_back({zone, item.path(), !document.comments().primaryIP.empty()});
    }
    std::sort(zones.begin(), zones.end(), [](const auto& a, const auto& b) { return a.zone < b.zone; });
    return zones;
}

std::optional<OpenZone> openZoneFile(const std::filesystem::path& dataFolder, std::string_view zone,
                                     std::string& error)
{
    std::string name = lowerAscii(zone);
    if (name.empty() || name.back() != '.') name += '.';
    const std::filesystem::path path = dataFolder / zoneFileName(name, "dns");
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) {
        error = "no zone file " + path.string();
        return std::nullopt;
    }
    auto text = readWhole(path);
    if (!text) {
        error = "cannot read " + path.string();
        return std::nullopt;
    }
    return OpenZone{path, ZoneDocument(name, std::move(*text))};
}

bool changedOnDisk(const OpenZone& zone)
{
    const auto text = readWhole(zone.path);
    return !text || *text != zone.document.originalText();
}

SaveOutcome saveZoneFile(OpenZone& zone, const SaveOptions& options)
{
    ZoneDocument& document = zone.document;
    if (!document.modified()) return SaveOutcome::Unchanged;
    if (!options.overwriteChanges && changedOnDisk(zone)) return SaveOutcome::ChangedOnDisk;
    if (const auto serial = document.serial(); serial && options.raiseSerial)
        document.setSerial(nextSerial(*serial, options.year, options.month, options.day));
    if (!writeFileAtomically(zone.path, document.text())) return SaveOutcome::WriteFailed;
    document.markSaved();
    return SaveOutcome::Saved;
}

std::optional<NewZone> newZoneFile(std::string_view what, std::string_view server, int year, int month,
                                   int day)
{
    std::string zone;
    if (const size_t slash = what.find('/'); slash != std::string_view::npos) {
        const auto address = parseAddress(what.substr(0, slash));
        const auto bits = parseNumber(what.substr(slash + 1));
        if (!address || !bits || (*bits != 8 && *bits != 16 && *bits != 24)) return std::nullopt;
        for (size_t i = *bits / 8; i-- > 0;)
            zone += std::to_string(static_cast<uint8_t>((*address)[i])) + ".";
        zone += "in-addr.arpa.";
    } else {
        zone = absoluteName(".", lowerAscii(what));
    }
    const std::string ns = absoluteName(".", lowerAscii(server));
    if (zone == "." || !storableName(zone) || ns == "." || !storableName(ns)) return std::nullopt;
    const std::string serial = std::to_string(year * 10000 + month * 100 + day) + "00";
    const std::string mailbox = "hostmaster." + (zone.ends_with(".arpa.") ? ns : zone);
    return NewZone{zone, "@ 3600 SOA " + ns + " " + mailbox + " " + serial +
                             " 3600 600 86400 3600\n@ 3600 NS " + ns + "\n"};
}

} // namespace quorvane
