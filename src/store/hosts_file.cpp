#include "store/hosts_file.h"

#include "store/record_store.h"
#include "store/zone_text.h"
#include "wire/addresses.h"
#include "wire/addresses6.h"
#include "wire/clean_name.h"

#include <fstream>

namespace quorvane {

namespace {

// Hosts lines are short; a longer one is garbage and is skipped whole.
constexpr size_t kMaxHostsLine = 64 * 1024;

std::vector<std::string_view> words(std::string_view line)
{
    std::vector<std::string_view> out;
    size_t i = 0;
    while (i < line.size()) {
        if (line[i] == ' ' || line[i] == '\t' || line[i] == '\r') {
            ++i;
            continue;
        }
        const size_t end = std::min(line.find_first_of(" \t\r", i), line.size());
        out.push_back(line.substr(i, end - i));
        i = end;
    }
    return out;
}

} // namespace

std::optional<HostsLine> parseHostsLine(std::string_view line)
{
    if (line.size() > kMaxHostsLine) return std::nullopt;
    const std::vector<std::string_view> fields = words(line.substr(0, line.find('#')));
    if (fields.size() < 2) return std::nullopt;
    auto address = parseAddress(fields[0]);
    if (!address) address = parseAddress6(fields[0]);
    if (!address) return std::nullopt;
    HostsLine hosts{std::move(*address), {}};
    for (size_t i = 1; i < fields.size(); ++i) {
        const std::string name = CleanName(fields[i]);
        if (!name.empty() && name.size() < 255) hosts.names.push_back(name + ".");
    }
    if (hosts.names.empty()) return std::nullopt;
    return hosts;
}

void RecordStore::LoadHosts()
{
    guarded("modDNS LoadHosts", [&] {
        removeZone(kHostsZone);
        const std::string& configured = m_settings.hostsPath;
        if (configured.empty()) return;
        clZone& zone = addZone(kHostsZone, zonetype::Hosts);
        log("Loading hosts file '" + configured + "'...");
        // A relative path ("Hosts: hosts") is taken from the program folder, not from wherever the
        // program happened to be started.
        std::ifstream in(m_folder / configured, std::ios::binary);
        if (!in) {
            log(std::string(kFileNotFoundLine));
            return;
        }
        const int32_t ttl = m_settings.hostsTTL;
        auto add = [&](const std::string& owner, int16_t type, Bytes data, int32_t pref) {
            if (const RecordKey key = CacheAddF(owner, type, ttl, std::move(data), pref, false))
                zone.Records.push_back(key);
        };
        for (std::string text; std::getline(in, text);) {
            const auto hosts = parseHostsLine(text);
            if (!hosts) continue;
            const bool v6 = hosts->address.size() == 16;
            if (v6 && !keepsType(rtype::AAAA)) continue;
            const std::string& host = hosts->names.front();
            add(host, v6 ? rtype::AAAA : rtype::A, hosts->address, -1);
            add(v6 ? Data6ToArpa(hosts->address) : DataToArpa(hosts->address), rtype::PTR, host, -1);
            for (size_t alias = 1; alias < hosts->names.size(); ++alias)
                add(hosts->names[alias], rtype::CNAME, host, 0);
        }
    });
}

} // namespace quorvane
