#include "dhcp/lease_table.h"

#include "net/network.h"
#include "wire/addresses.h"
#include "wire/clean_name.h"

#include <algorithm>
#include <charconv>

namespace quorvane {

namespace {

// An ended lease stays this long, so that a client coming back soon gets its old address.
constexpr double kKeepEndedDays = 1.0;

bool holds(const clLease& lease, bool expiredFree, DateTime now)
{
    return !expiredFree || lease.End > now;
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// "yyyy-mm-dd hh:mm:ss" exactly, with a real date and time of day.
std::optional<DateTime> parseDateTime(std::string_view text)
{
    if (text.size() != 19 || text[4] != '-' || text[7] != '-' || text[10] != ' ' || text[13] != ':' ||
        text[16] != ':')
        return std::nullopt;
    const auto number = [&](size_t at, size_t length, int& value) {
        const char* first = text.data() + at;
        const auto [end, error] = std::from_chars(first, first + length, value);
        return error == std::errc() && end == first + length;
    };
    CalendarTime t;
    if (!number(0, 4, t.year) || !number(5, 2, t.month) || !number(8, 2, t.day) || !number(11, 2, t.hour) ||
        !number(14, 2, t.minute) || !number(17, 2, t.second))
        return std::nullopt;
    if (t.year < 1970 || t.month < 1 || t.month > 12 || t.day < 1 || t.hour > 23 || t.minute > 59 ||
        t.second > 59)
        return std::nullopt;
    const DateTime when = fromCalendar(t);
    if (toCalendar(when).day != t.day) return std::nullopt; // 31 April and the like
    return when;
}

} // namespace

std::string HWToHex(std::string_view bytes)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : bytes) {
        text += kDigits[static_cast<unsigned char>(c) >> 4];
        text += kDigits[static_cast<unsigned char>(c) & 15];
    }
    return text;
}

Bytes HexToHW(std::string_view text)
{
    Bytes bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2) {
        const int high = hexDigit(text[i]);
        const int low = hexDigit(text[i + 1]);
        if (high < 0) break;
        bytes += static_cast<char>(low < 0 ? high : high * 16 + low);
        if (low < 0) break;
    }
    return bytes;
}

std::vector<clLease> LeaseTable::leases() const
{
    std::vector<clLease> list;
    list.reserve(m_leases.size());
    for (const Entry& entry : m_leases)
        list.push_back(entry.lease);
    return list;
}

bool LeaseTable::ValidLease(const clDHCPif& interface, const std::string& address, const clLease& client,
                            bool expiredFree, DateTime now, const PermanentName& permanent) const
{
    const auto candidate = addressFromText(address);
    const auto from = addressFromText(interface.ScopeFrom);
    const auto to = addressFromText(interface.ScopeTo);
    if (!candidate || !from || !to || address == interface.IPaddr) return false;
    if (*candidate < *from || *candidate > *to) return false;
    const auto [first, last] = m_byAddress.equal_range(address);
    for (auto it = first; it != last; ++it) {
        const clLease& lease = it->second->lease;
        if (lease.ClientID != client.ClientID && holds(lease, expiredFree, now)) return false;
    }
    return !nameHeld(client, expiredFree, now, permanent);
}

bool LeaseTable::nameHeld(const clLease& client, bool expiredFree, DateTime now,
                          const PermanentName& permanent) const
{
    // The client's own lease holds nothing against it: a client that starts over keeps its address.
    const auto [first, last] = m_byName.equal_range(client.ClientName);
    for (auto it = first; it != last; ++it) {
        const clLease& lease = it->second->lease;
        if (lease.ClientID != client.ClientID && holds(lease, expiredFree, now)) return true;
    }
    return permanent && permanent(client.ClientName);
}

bool LeaseTable::addressHeld(const std::string& address, std::string_view clientID, DateTime now) const
{
    const auto [first, last] = m_byAddress.equal_range(address);
    for (auto it = first; it != last; ++it)
        if (it->second->lease.ClientID != clientID && it->second->lease.End > now) return true;
    return false;
}

std::optional<uint32_t> LeaseTable::firstFree(uint32_t from, uint32_t to, const clLease& client, DateTime now,
                                              const std::function<bool(uint32_t)>& skip)
{
    uint32_t& searchFrom = m_searchFrom.try_emplace(from, from).first->second;
    // The search goes on where it stopped: every address below was held or refused then, and an
    // address that came free since has moved the start back.
    for (uint64_t candidate = std::max(from, searchFrom); candidate <= to; ++candidate) {
        const auto address = static_cast<uint32_t>(candidate);
        if (skip(address) || addressHeld(addressText(address), client.ClientID, now)) continue;
        searchFrom = address;
        return address;
    }
    searchFrom = to; // a full scope: only a freed address helps now
    return std::nullopt;
}

void LeaseTable::freed(const std::string& address)
{
    if (const auto number = addressFromText(address)) mayBeFree(*number);
}

void LeaseTable::mayBeFree(uint32_t address)
{
    for (auto& [from, searchFrom] : m_searchFrom)
        if (address >= from && address < searchFrom) searchFrom = address;
}

void LeaseTable::add(clLease lease)
{
    m_leases.push_back({std::move(lease), ++m_added});
    const Position added = std::prev(m_leases.end());
    m_byAddress.emplace(added->lease.IPaddr, added);
    m_byName.emplace(added->lease.ClientName, added);
    m_byClient.emplace(added->lease.ClientID, added);
}

void LeaseTable::unindex(Index& index, const std::string& key, Position lease)
{
    const auto [first, last] = index.equal_range(key);
    for (auto it = first; it != last; ++it)
        if (it->second == lease) return void(index.erase(it));
}

void LeaseTable::erase(Position lease)
{
    unindex(m_byAddress, lease->lease.IPaddr, lease);
    unindex(m_byName, lease->lease.ClientName, lease);
    unindex(m_byClient, lease->lease.ClientID, lease);
    freed(lease->lease.IPaddr);
    m_leases.erase(lease);
}

void LeaseTable::eraseKey(const Index& index, const std::string& key)
{
    std::vector<Position> doomed;
    const auto [first, last] = index.equal_range(key);
    for (auto it = first; it != last; ++it)
        doomed.push_back(it->second);
    for (const Position lease : doomed)
        erase(lease);
}

void LeaseTable::Remove(const std::string& address, const std::string& clientName)
{
    eraseKey(m_byAddress, address);
    eraseKey(m_byName, clientName);
}

const clLease* LeaseTable::first(const Index& index, std::string_view key, DateTime now, bool current) const
{
    const Entry* found = nullptr;
    const auto [first, last] = index.equal_range(key);
    for (auto it = first; it != last; ++it) {
        const Entry& entry = *it->second;
        if (current && entry.lease.End <= now) continue;
        if (found == nullptr || entry.order < found->order) found = &entry;
    }
    return found == nullptr ? nullptr : &found->lease;
}

const clLease* LeaseTable::byClientID(std::string_view clientID) const
{
    return first(m_byClient, clientID, 0, false);
}

bool LeaseTable::eraseClientID(std::string_view clientID)
{
    const clLease* lease = byClientID(clientID);
    if (lease == nullptr) return false;
    const auto [first, last] = m_byClient.equal_range(clientID);
    for (auto it = first; it != last; ++it)
        if (&it->second->lease == lease) return erase(it->second), true;
    return false;
}

bool LeaseTable::endAddress(const std::string& address, DateTime now)
{
    const auto [first, last] = m_byAddress.equal_range(address);
    for (auto it = first; it != last; ++it)
        it->second->lease.End = now;
    if (first != last) freed(address);
    return first != last;
}

bool LeaseTable::eraseAddress(const std::string& address)
{
    const bool found = m_byAddress.count(address) != 0;
    eraseKey(m_byAddress, address);
    return found;
}

size_t LeaseTable::purge(DateTime now)
{
    size_t removed = 0;
    for (auto lease = m_leases.begin(); lease != m_leases.end();) {
        const auto next = std::next(lease);
        if (lease->lease.End + kKeepEndedDays < now) {
            erase(lease);
            ++removed;
        } else if (lease->lease.End <= now) {
            freed(lease->lease.IPaddr);
        }
        lease = next;
    }
    return removed;
}

const clLease* LeaseTable::currentByName(std::string_view name, DateTime now) const
{
    return first(m_byName, name, now, true);
}

const clLease* LeaseTable::currentByAddress(std::string_view address, DateTime now) const
{
    return first(m_byAddress, address, now, true);
}

std::string LeaseTable::fileText() const
{
    std::string text(kLeaseFileHeader);
    text += '\n';
    for (const auto& [lease, order] : m_leases)
        text += lease.ClientName + "  " + lease.IPaddr + "  " + HWToHex(lease.ClientID) + "  " +
                dateTimeText(lease.End) + '\n';
    return text;
}

void LeaseTable::load(std::istream& in)
{
    m_leases.clear();
    m_byAddress.clear();
    m_byName.clear();
    m_byClient.clear();
    m_searchFrom.clear();
    std::string line;
    while (std::getline(in, line)) {
        std::string_view rest(line);
        rest = rest.substr(0, rest.find(';'));
        const auto field = [&rest] {
            const auto start = rest.find_first_not_of(" \t\r");
            if (start == std::string_view::npos) return rest = {}, std::string_view{};
            rest.remove_prefix(start);
            const std::string_view token = rest.substr(0, rest.find_first_of(" \t\r"));
            rest.remove_prefix(token.size());
            return token;
        };
        const std::string_view name = field();
        const std::string_view address = field();
        const std::string_view id = field();
        const auto first = rest.find_first_not_of(" \t");
        const auto last = rest.find_last_not_of(" \t\r");
        const auto end =
            parseDateTime(first == std::string_view::npos ? "" : rest.substr(first, last - first + 1));
        const auto valid = addressFromText(address);
        Bytes clientID = HexToHW(id);
        // A lease belongs to a client: a line without one would be written back as a line that
        // does not read.
        if (!end || !valid || CleanName(name).empty() || clientID.empty()) continue;
        add({*end, addressText(*valid), CleanName(name) + ".", std::move(clientID)});
    }
}

} // namespace quorvane
