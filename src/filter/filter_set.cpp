// Building the filter set from the configured lists, and the look-up the answerer makes.
#include "filter/filter_set.h"
#include "filter/list_reader.h"

#include <array>
#include <cstdint>
#include <fstream>

namespace quorvane {

std::string_view FilterSet::blockedBy(std::string_view name, std::string& scratch) const
{
    if (!name.empty() && name.back() == '.') name.remove_suffix(1);
    if (name.empty() || name.size() > NameSet::kMaxName) return {};
    scratch.assign(name);
    for (char& c : scratch)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    if (!allowed.findSelfOrParent(scratch).empty()) return {};
    return blocked.findSelfOrParent(scratch);
}

bool isListAddress(const std::string& source)
{
    return source.starts_with("http://") || source.starts_with("https://");
}

std::filesystem::path listFile(const std::string& source, const std::filesystem::path& folder)
{
    if (!isListAddress(source)) return folder / source; // an absolute path stays as it is
    // The saved copy is named by a hash of the address that stays the same from run to run.
    uint64_t hash = 14695981039346656037ULL;
    for (const char c : source) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    std::string name(16, '0');
    for (size_t i = 0; i < 16; ++i) name[15 - i] = "0123456789abcdef"[(hash >> (4 * i)) & 15];
    return folder / "blocklists" / (name + ".txt");
}

std::shared_ptr<const FilterSet> buildFilter(const FilterSources& sources)
{
    auto set = std::make_shared<FilterSet>();
    std::string name;
    for (const std::string& entry : sources.allow)
        if (normalName(entry, name)) set->allowed.insert(name);
    // A name takes at most the bytes of its line, so the files' sizes bound the arena.
    size_t bytes = 0;
    for (const std::string& source : sources.lists) {
        std::error_code error;
        const auto size = std::filesystem::file_size(listFile(source, sources.folder), error);
        if (!error) bytes += static_cast<size_t>(size);
    }
    set->blocked.reserve(bytes);
    std::array<char, 1 << 16> buffer{};
    for (const std::string& source : sources.lists) {
        ListCount& count = set->lists.emplace_back(ListCount{source});
        std::ifstream file(listFile(source, sources.folder), std::ios::binary);
        if (!file) continue;
        ListReader reader(set->blocked, set->allowed);
        while (file.read(buffer.data(), buffer.size()) || file.gcount() > 0)
            reader.feed({buffer.data(), static_cast<size_t>(file.gcount())});
        reader.finish();
        count = {source, reader.names(), reader.skipped(), true};
    }
    set->blocked.shrink();
    set->allowed.shrink();
    return set;
}

} // namespace quorvane
