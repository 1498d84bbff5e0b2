// The block lists as the engine uses them: the names of every list, the exceptions and the allow
// list, built in one piece off the engine thread and then swapped in whole. Reading only.
#pragma once

#include "filter/name_set.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

// What one list gave at its last reading.
struct ListCount {
    std::string source; // as configured: a path or an address
    size_t names = 0;
    size_t skipped = 0;
    bool read = false;  // false when the file (or the saved copy of an address) could not be read
};

struct FilterSet {
    NameSet blocked;
    NameSet allowed; // the allow list and the lists' exceptions: never blocked, with their subdomains
    std::vector<ListCount> lists;

    // The list entry that blocks name ("host.zone." or without the final dot, any case): the name
    // or one of its parents on a list and neither on the allow list. Empty when not blocked.
    // scratch holds the lower-case name meanwhile.
    std::string_view blockedBy(std::string_view name, std::string& scratch) const;
};

// What the lists are built from.
struct FilterSources {
    std::vector<std::string> lists; // BlockList: paths (relative to folder, or absolute) or addresses
    std::vector<std::string> allow; // AllowList
    std::filesystem::path folder;   // the program folder
};

bool isListAddress(const std::string& source);
// Where a list is read from: the file of a path, or the saved copy of an address under
// "blocklists" in the program folder.
std::filesystem::path listFile(const std::string& source, const std::filesystem::path& folder);
// Reads every list and builds the set. Slow with large lists: never on the engine thread.
std::shared_ptr<const FilterSet> buildFilter(const FilterSources& sources);

} // namespace quorvane
