#include "store/zone_file.h"

#include "net/atomic_file.h"
#include "store/record_data.h"
#include "store/zone_text.h"

namespace quorvane {

std::string zoneFileText(const clZone& zone, const RecordStore& store, bool withRecords)
{
    std::string text = "; PrimaryIP " + zone.PrimaryIP + "\n";
    if (!zone.Slaves.empty()) {
        text += "; Notify";
        for (const std::string& address : zone.Slaves)
            text += " " + address;
        text += "\n";
    }
    if (!zone.Secure) text += "; NotSecure\n";
    if (!withRecords) return text;
    for (const RecordKey key : zone.Records) {
        const clDNSRecord* record = store.recordByKey(key);
        if (record == nullptr || !storableName(record->Name)) continue;
        const auto data = recordDataText(*record);
        if (!data) continue;
        text += record->RecType == rtype::SOA && record->Name == zone.Name ? std::string("@") : record->Name;
        text += ' ';
        text += std::to_string(record->TTL(0));
        text += ' ';
        text += *data;
        text += '\n';
    }
    return text;
}

bool RecordStore::saveZoneFile(const clZone& zone, bool withRecords)
{
    bool saved = false;
    guarded("modDNS SaveZone", [&] {
        const std::filesystem::path file = m_folder / "data" / zoneFileName(zone.Name, "dns");
        saved = writeFileAtomically(file, zoneFileText(zone, *this, withRecords));
        if (!saved) reportError("modDNS SaveZone", "Cannot write " + file.string());
    });
    return saved;
}

} // namespace quorvane
