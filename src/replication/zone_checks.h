// The checks a zone passes before the records editor saves it. Pure: a document in, messages out.
#pragma once

#include "replication/zone_document.h"

#include <string>
#include <vector>

namespace quorvane {

// One line per problem, naming the record ("pc1.office.test. CNAME") and the rule it breaks:
// the zone has its SOA; names are host names (letters, digits, "-", "_", "*"); a CNAME is the only
// record of its name; MX, NS and SRV point at a name, not an address. Empty when all is well.
std::vector<std::string> zoneProblems(const ZoneDocument& document);

} // namespace quorvane
