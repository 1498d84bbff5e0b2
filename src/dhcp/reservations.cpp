#include "dhcp/reservations.h"

#include "dhcp/lease_table.h"
#include "wire/addresses.h"

#include <algorithm>
#include <cctype>

namespace quorvane {

namespace {

// The hexadecimal digits of text in lower case, separators dropped; empty when anything else is
// there or the digits are odd in number.
std::string hexDigits(std::string_view text)
{
    std::string digits;
    for (const char c : text) {
        if (c == ':' || c == '-') continue;
        if (!std::isxdigit(static_cast<unsigned char>(c))) return {};
        digits += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return digits.size() % 2 == 0 ? digits : std::string();
}

} // namespace

std::string cleanFixedClient(std::string_view text)
{
    const bool identifier = text.size() > 3 && (text.substr(0, 3) == "id:" || text.substr(0, 3) == "ID:");
    const std::string digits = hexDigits(identifier ? text.substr(3) : text);
    if (identifier) return digits.size() >= 4 ? "id:" + digits : std::string();
    if (digits.size() != 12) return {};
    std::string written;
    for (size_t i = 0; i < digits.size(); i += 2) written += (i > 0 ? ":" : "") + digits.substr(i, 2);
    return written;
}

void Reservations::configure(const std::vector<DhcpFixed>& lines, bool fixedNames)
{
    m_lines = lines;
    m_fixedNames = fixedNames;
}

void Reservations::bind(const std::vector<clDHCPif>& interfaces)
{
    m_reserved.clear();
    for (const DhcpFixed& line : m_lines) {
        const auto holder = std::find_if(interfaces.begin(), interfaces.end(), [&](const clDHCPif& i) {
            return i.Enable && SameNet(i.IPaddr, line.IPaddr, i.Subnet) && line.IPaddr != i.IPaddr;
        });
        const std::string client = cleanFixedClient(line.Client);
        if (holder == interfaces.end() || client.empty() || line.Name.empty()) continue;
        Reserved reserved;
        const bool identifier = client.starts_with("id:");
        (identifier ? reserved.identifier : reserved.hardware) = HexToHW(hexDigits(identifier ? client.substr(3) : client));
        reserved.address = line.IPaddr;
        reserved.label = line.Name;
        reserved.name = line.Name + holder->Domain + '.';
        m_reserved.push_back(std::move(reserved));
    }
}

bool Reservations::owns(const Reserved& reserved, const clDHCPRequest& request)
{
    if (!reserved.identifier.empty()) return request.ClientIDSent && request.ClientID == reserved.identifier;
    return request.HWAddr == reserved.hardware;
}

const Reservations::Reserved* Reservations::forClient(const clDHCPRequest& request) const
{
    const clDHCPif& interface = request.Interface;
    for (const Reserved& reserved : m_reserved)
        if (owns(reserved, request) && SameNet(interface.IPaddr, reserved.address, interface.Subnet)) return &reserved;
    return nullptr;
}

bool Reservations::heldForOther(std::string_view address, const clDHCPRequest& request) const
{
    return std::any_of(m_reserved.begin(), m_reserved.end(),
                       [&](const Reserved& r) { return r.address == address && !owns(r, request); });
}

const Reservations::Reserved* Reservations::byName(std::string_view name) const
{
    if (!m_fixedNames) return nullptr;
    for (const Reserved& reserved : m_reserved)
        if (reserved.name == name) return &reserved;
    return nullptr;
}

const Reservations::Reserved* Reservations::byAddress(std::string_view address) const
{
    if (!m_fixedNames) return nullptr;
    for (const Reserved& reserved : m_reserved)
        if (reserved.address == address) return &reserved;
    return nullptr;
}

} // namespace quorvane
