// Shared by the store's tests: a store on a fake clock in a temporary program folder, which keeps
// the lines it logs and the errors it reports.
#pragma once

#include "net/error_hook.h"
#include "store/record_data.h"
#include "store/record_store.h"
#include "support/fake_clock.h"
#include "support/temp_folder.h"

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
};

} // namespace quorvane::test
