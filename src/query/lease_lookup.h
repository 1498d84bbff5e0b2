// What the query path asks of the DHCP server's leases: the address of a leased name and the name
// of a leased address. Declared here, implemented by the DHCP server, wired by the engine.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvane {

// A current lease, as an answer gives it: the address (for a name) or the name (for an address),
// and the TTL to answer with.
struct LeaseAnswer
{
    std::string_view data; // held by the lease table: read it before the table changes
    int32_t ttl = 0;
};

class LeaseLookup
{
public:
    virtual ~LeaseLookup() = default;
    // name and the answer's name in normal form ("pc1.home.lan."); addresses dotted.
    virtual std::optional<LeaseAnswer> leaseAddress(std::string_view name) const = 0;
    virtual std::optional<LeaseAnswer> leaseName(std::string_view address) const = 0;
};

} // namespace quorvane
