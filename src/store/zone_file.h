// The text of a secondary zone's file in data/: the header lines that carry the zone's settings,
// then its records in zone-file syntax, so that LoadZone reads back the same zone. Pure: the file
// itself is written by RecordStore::saveZoneFile.
#pragma once

#include "store/record_store.h"

#include <string>

namespace quorvane {

// "; PrimaryIP " + primary, "; Notify" + " " + each secondary when it has any, "; NotSecure" when
// transfers are open to all; then, with records, one line per record of the zone in its order:
// the SOA as "@ TTL SOA ...", others under their absolute owner. Records a file cannot carry are
// left out.
std::string zoneFileText(const clZone& zone, const RecordStore& store, bool withRecords);

} // namespace quorvane
