// The lease table: every address the DHCP server has handed out, in the order of handing out, with
// the rule that decides whether an address may go to a client, and the text of the lease file
// "dhcp.dat". Plain data and pure text handling; the file itself is read and written by the server.
#pragma once

#include "dhcp/dhcp_interface.h"
#include "net/bytes.h"
#include "net/clock.h"

#include <functional>
#include <istream>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quorvane {

inline constexpr std::string_view kLeaseFileHeader = "; Quorvane - DHCP Leases";
inline constexpr const char* kLeaseFileName = "dhcp.dat";

struct clLease
{
    DateTime End = 0;       // when the lease runs out
    std::string IPaddr;     // dotted
    std::string ClientName; // "pc1.home.lan."
    Bytes ClientID;
    bool operator==(const clLease&) const = default;
};

// "000A" for the bytes 0x00 0x0A; and back, two digits a byte, an odd last digit dropped, a pair
// that is no hexadecimal number read as far as it goes.
std::string HWToHex(std::string_view bytes);
Bytes HexToHW(std::string_view text);

// Leases are kept in the order they were added, with an index by address, by name and by client,
// so that every step of an exchange costs the same with ten leases as with ten thousand.
class LeaseTable
{
public:
    // Whether a name is held by a permanent DNS record (a zone or the hosts file).
    using PermanentName = std::function<bool(std::string_view name)>;

    LeaseTable() = default;
    LeaseTable(const LeaseTable&) = delete;
    LeaseTable& operator=(const LeaseTable&) = delete;

    // The leases in table order.
    std::vector<clLease> leases() const;
    size_t size() const { return m_leases.size(); }

    // Whether the address may be leased to the client (its ClientName and ClientID count): not the
    // interface's own, inside the scope, held by no lease of another client, and the client's name
    // held by no lease of another client and by no permanent record. With expiredFree, leases that
    // have run out hold nothing.
    bool ValidLease(const clDHCPif& interface, const std::string& address, const clLease& client,
                    bool expiredFree, DateTime now, const PermanentName& permanent) const;
    // Whether another client's lease or a permanent DNS record holds the client's name.
    bool nameHeld(const clLease& client, bool expiredFree, DateTime now,
                  const PermanentName& permanent) const;
    // Whether a running lease of another client holds the address.
    bool addressHeld(const std::string& address, std::string_view clientID, DateTime now) const;
    // The first address from `from` to `to` that no running lease of another client holds and that
    // skip does not refuse. Where the last search of this scope stopped is remembered, and moved
    // back whenever an address below it may have come free.
    std::optional<uint32_t> firstFree(uint32_t from, uint32_t to, const clLease& client, DateTime now,
                                      const std::function<bool(uint32_t)>& skip);
    // Deletes every lease of the address or of the client name.
    void Remove(const std::string& address, const std::string& clientName);
    void add(clLease lease);
    // The first lease of this client, or nullptr.
    const clLease* byClientID(std::string_view clientID) const;
    // Deletes the first lease of this client; false when it has none.
    bool eraseClientID(std::string_view clientID);
    // Every lease of the address ends now; false when there is none.
    bool endAddress(const std::string& address, DateTime now);
    // The operator's deletion: the lease of the address goes; false when there is none.
    bool eraseAddress(const std::string& address);
    // Leases that ended more than a day ago go (the number removed); the addresses of leases that
    // have ended may be found free again.
    size_t purge(DateTime now);
    // An address that may have come free outside the table (a declined address that rests no more).
    void mayBeFree(uint32_t address);

    // The current lease of a name or of an address, for DNS answers; nullptr when none is current.
    const clLease* currentByName(std::string_view name, DateTime now) const;
    const clLease* currentByAddress(std::string_view address, DateTime now) const;

    // The file: its header line, then "name  address  HEX  yyyy-mm-dd hh:mm:ss" per lease.
    std::string fileText() const;
    // The table anew from a file's text; lines without a valid address, date or client identifier
    // are skipped.
    void load(std::istream& in);

private:
    struct Entry
    {
        clLease lease;
        uint64_t order = 0; // tells the first of several leases of one key
    };
    using Position = std::list<Entry>::iterator;
    // Looked up by std::string_view without making a string of it: DNS asks on every A question.
    struct KeyHash
    {
        using is_transparent = void;
        size_t operator()(std::string_view key) const { return std::hash<std::string_view>{}(key); }
    };
    using Index = std::unordered_multimap<std::string, Position, KeyHash, std::equal_to<>>;
    void erase(Position lease);
    void eraseKey(const Index& index, const std::string& key);
    void freed(const std::string& address);
    static void unindex(Index& index, const std::string& key, Position lease);
    const clLease* first(const Index& index, std::string_view key, DateTime now, bool current) const;

    std::list<Entry> m_leases;
    uint64_t m_added = 0;
    Index m_byAddress, m_byName, m_byClient;
    std::map<uint32_t, uint32_t> m_searchFrom; // scope start -> where the next search begins
};

} // namespace quorvane
