// The lease table: every address the DHCP server has handed out, in the order of handing out, with
// the rule that decides whether an address may go to a client, and the text of the lease file
// "dhcp.dat". Plain data and pure text handling; the file itself is read and written by the server.
#pragma once

#include "dhcp/dhcp_interface.h"
#include "net/bytes.h"
#include "net/clock.h"

#include <functional>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
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

class LeaseTable
{
public:
    // Whether a name is held by a permanent DNS record (a zone or the hosts file).
    using PermanentName = std::function<bool(std::string_view name)>;

    const std::vector<clLease>& leases() const { return m_leases; }

    // Whether the address may be leased to the client (its ClientName and ClientID count): not the
    // interface's own, inside the scope, held by no lease of another client, and the client's name
    // held by no lease of another client and by no permanent record. With expiredFree, leases that
    // have run out hold nothing.
    bool ValidLease(const clDHCPif& interface, const std::string& address, const clLease& client,
                    bool expiredFree, DateTime now, const PermanentName& permanent) const;
    // Whether another client's lease or a permanent DNS record holds the client's name.
    bool nameHeld(const clLease& client, bool expiredFree, DateTime now,
                  const PermanentName& permanent) const;
    // Deletes every lease of the address or of the client name.
    void Remove(const std::string& address, const std::string& clientName);
    void add(clLease lease) { m_leases.push_back(std::move(lease)); }
    // The first lease of this client, or nullptr.
    const clLease* byClientID(std::string_view clientID) const;
    // Deletes the first lease of this client; false when it has none.
    bool eraseClientID(std::string_view clientID);
    // Every lease of the address ends now; false when there is none.
    bool endAddress(const std::string& address, DateTime now);
    // The operator's deletion: the lease of the address goes; false when there is none.
    bool eraseAddress(const std::string& address);
    // Leases that ended more than a day ago go; the number removed.
    size_t purge(DateTime now);

    // The current lease of a name or of an address, for DNS answers; nullptr when none is current.
    const clLease* currentByName(std::string_view name, DateTime now) const;
    const clLease* currentByAddress(std::string_view address, DateTime now) const;

    // The file: its header line, then "name  address  HEX  yyyy-mm-dd hh:mm:ss" per lease.
    std::string fileText() const;
    // The table anew from a file's text; lines without a valid date are skipped.
    void load(std::istream& in);

private:
    std::vector<clLease> m_leases;
};

} // namespace quorvane
