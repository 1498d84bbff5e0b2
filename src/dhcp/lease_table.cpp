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

bool LeaseTable::ValidLease(const clDHCPif& interface, const std::string& address, const clLease& client,
                            bool expiredFree, DateTime now, const PermanentName& permanent) const
{
    const auto candidate = addressFromText(address);
    const auto from = addressFromText(interface.ScopeFrom);
    const auto to = addressFromText(interface.ScopeTo);
    if (!candidate || !from || !to || address == interface.IPaddr) return false;
    if (*candidate < *from || *candidate > *to) return false;
    for (const clLease& lease : m_leases)
        if (lease.IPaddr == address && lease.ClientID != client.ClientID && holds(lease, expiredFree, now))
            return false;
    return !nameHeld(client, expiredFree, now, permanent);
}

bool LeaseTable::nameHeld(const clLease& client, bool expiredFree, DateTime now,
                          const PermanentName& permanent) const
{
    // The client's own lease holds nothing against it: a client that starts over keeps its address.
    for (const clLease& lease : m_leases)
        if (lease.ClientName == client.ClientName && lease.ClientID != client.ClientID &&
            holds(lease, expiredFree, now))
            return true;
    return permanent && permanent(client.ClientName);
}

void LeaseTable::Remove(const std::string& address, const std::string& clientName)
{
    std::erase_if(m_leases, [&](const clLease& lease) {
        return lease.IPaddr == address || lease.ClientName == clientName;
    });
}

const clLease* LeaseTable::byClientID(std::string_view clientID) const
{
    for (const clLease& lease : m_leases)
        if (lease.ClientID == clientID) return &lease;
    return nullptr;
}

bool LeaseTable::eraseClientID(std::string_view clientID)
{
    const auto found = std::find_if(m_leases.begin(), m_leases.end(),
                                    [&](const clLease& lease) { return lease.ClientID == clientID; });
    if (found == m_leases.end()) return false;
    m_leases.erase(found);
    return true;
}

bool LeaseTable::endAddress(const std::string& address, DateTime now)
{
    bool found = false;
    for (clLease& lease : m_leases)
        if (lease.IPaddr == address) {
            lease.End = now;
            found = true;
        }
    return found;
}

bool LeaseTable::eraseAddress(const std::string& address)
{
    return std::erase_if(m_leases, [&](const clLease& lease) { return lease.IPaddr == address; }) > 0;
}

size_t LeaseTable::purge(DateTime now)
{
    return std::erase_if(m_leases, [&](const clLease& lease) { return lease.End + kKeepEndedDays < now; });
}

const clLease* LeaseTable::currentByName(std::string_view name, DateTime now) const
{
    for (const clLease& lease : m_leases)
        if (lease.ClientName == name && lease.End > now) return &lease;
    return nullptr;
}

const clLease* LeaseTable::currentByAddress(std::string_view address, DateTime now) const
{
    for (const clLease& lease : m_leases)
        if (lease.IPaddr == address && lease.End > now) return &lease;
    return nullptr;
}

std::string LeaseTable::fileText() const
{
    std::string text(kLeaseFileHeader);
    text += '\n';
    for (const clLease& lease : m_leases)
        text += lease.ClientName + "  " + lease.IPaddr + "  " + HWToHex(lease.ClientID) + "  " +
                dateTimeText(lease.End) + '\n';
    return text;
}

void LeaseTable::load(std::istream& in)
{
    m_leases.clear();
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
        if (!end || !valid || CleanName(name).empty()) continue;
        m_leases.push_back({*end, addressText(*valid), CleanName(name) + ".", HexToHW(id)});
    }
}

} // namespace quorvane
