// Shared by the store's tests: a store on a fake clock in a temporary program folder, which keeps
// the lines it logs and the errors it reports.
#pragma once

#include "net/error_hook.h"
#include "store/record_data.h"
#include "store/record_store.h"
#include "support/fake_clock.h"
#include "support/temp_folder.h"

#include "support/call_table.h"

#include <string>
#include <vector>

namespace quorvane::test {

struct StoreFixture
{
    FakeClock clock;
    TempFolder folder;
    std::vector<std::string> lines;  // logged texts, in order
    std::vector<std::string> errors; // "label: description"
    RecordStore store{clock, folder.path(), [this](int, const std::string& text) { lines.push_back(text); }};
    ErrorHandler previous = setErrorHandler(
        [this](const std::string& label, const std::string& what) { errors.push_back(label + ": " + what); });

    StoreFixture() { std::filesystem::create_directories(folder.path() / "data"); }
    ~StoreFixture() { setErrorHandler(std::move(previous)); }

    void advanceSeconds(double seconds) { clock.set(clock.now() + seconds / kSecondsPerDay); }
    // The records of a name as "TYPE data" texts, in store order; "?type" for types files do not
    // carry.
    std::vector<std::string> texts(std::string_view name) const
    {
        std::vector<std::string> out;
        for (const auto& [owner, record] : store.records(name))
            out.push_back(recordDataText(record).value_or("?" + std::to_string(record.RecType)));
        return out;
    }
    // Everything the store holds, as text: log lines, errors, each zone with its settings (dates in
    // seconds from now), then every record in store order with its TTL and preference.
    std::string dump() const
    {
        std::string out;
        for (const std::string& line : lines)
            out += "log: " + line + "\n";
        for (const std::string& error : errors)
            out += "error: " + error + "\n";
        const auto seconds = [this](DateTime at) {
            return std::to_string(std::lround((at - clock.now()) * kSecondsPerDay));
        };
        for (const clZone& zone : store.Zones()) {
            out += "zone " + zone.Name + " type " + std::to_string(zone.ZoneType) + " serial " +
                   std::to_string(static_cast<int64_t>(zone.Serial)) + " refresh " + std::to_string(zone.RefreshIV) +
                   " retry " + std::to_string(zone.RetryIV) + " expire " + std::to_string(zone.ExpireIV) +
                   (zone.Secure ? "" : " notsecure") + " primary '" + zone.PrimaryIP + "' next " +
                   seconds(zone.NextRefresh) + " expires " + seconds(zone.Expires) + " records " +
                   std::to_string(zone.Records.size()) + " notify";
            for (const std::string& slave : zone.Slaves)
                out += " " + slave;
            out += "\n";
        }
        for (const auto& [owner, record] : store.CacheRecords())
            out += owner + " " + std::to_string(record.TTL(clock.now())) + (record.Permanent ? " perm" : "") +
                   (record.Pref != 0 ? " pref " + std::to_string(record.Pref) : "") + " " +
                   recordDataText(record).value_or("?" + std::to_string(record.RecType)) + "\n";
        return out;
    }
};

inline void expectGolden(const std::string& name, const std::string& actual)
{
    expectGoldenFile(std::filesystem::path(QUORVANE_STORE_DATA) / name, actual);
}

} // namespace quorvane::test
