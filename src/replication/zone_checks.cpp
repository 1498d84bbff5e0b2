#include "replication/zone_checks.h"

#include "store/record_data.h"
#include "store/zone_text.h"
#include <cctype>
#include <map>

namespace quorvane {

namespace {

bool hostName(std::string_view name)
{
    for (const char c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '_' && c != '*' && c != '.')
            return false;
    return true;
}

// "10.0.0.1." reads as a name to the zone file, but it is an address someone meant.
bool looksLikeAddress(std::string_view name)
{
    if (name.ends_with('.')) name.remove_suffix(1);
    return parseAddress(name).has_value();
}

std::string label(const ZoneRecord& record)
{
    const RecordType* row = findRecordType(record.type);
    return record.owner + " " + (row ? std::string(row->mnemonic) : std::to_string(record.type));
}

clDNSRecord stored(const ZoneRecord& record)
{
    clDNSRecord out;
    out.RecType = record.type;
    out.Data = record.data;
    out.Pref = record.pref;
    return out;
}

} // namespace

std::vector<std::string> zoneProblems(const ZoneDocument& document)
{
    std::vector<std::string> problems;
    if (!document.serial()) problems.push_back(document.origin() + " SOA: the zone needs its SOA record");
    std::map<std::string, int> recordsOf, cnamesOf;
    for (const ZoneEntry& entry : document.records()) {
        ++recordsOf[entry.record.owner];
        if (entry.record.type == rtype::CNAME) ++cnamesOf[entry.record.owner];
    }
    for (const ZoneEntry& entry : document.records()) {
        const ZoneRecord& record = entry.record;
        if (!hostName(record.owner))
            problems.push_back(label(record) + ": the name may hold only letters, digits, '-', '_' and '*'");
        if (record.type == rtype::CNAME && recordsOf[record.owner] > 1)
            problems.push_back(label(record) + ": a CNAME must be the only record of its name");
        const bool pointer =
            record.type == rtype::MX || record.type == rtype::NS || record.type == rtype::SRV;
        const clDNSRecord data = stored(record);
        const std::string_view target = dataName(data);
        if (pointer && (looksLikeAddress(target) || !hostName(target)))
            problems.push_back(label(record) + ": the target " + std::string(target) +
                               " must be a host name, not an address");
    }
    return problems;
}

} // namespace quorvane
