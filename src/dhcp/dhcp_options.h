// Options the operator adds to an interface's DHCP replies (DHCPOption): the value as written and
// its encoding, with the form checked for the options clients are known to read (NTP servers,
// domain search list, MTU, static routes, TFTP server and boot file). Pure functions; bad text
// gives nothing, never an exception.
#pragma once

#include "net/bytes.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvane {

using DhcpOptionData = std::pair<uint8_t, Bytes>; // code and data, as sent

// The data of option code for a value written as: addresses ("1.2.3.4,5.6.7.8"), a number (two
// bytes for the MTU and the maximum message size, four otherwise), text in double quotes, or
// "hex:" and hexadecimal digits. Option 119 takes names ("home.lan,corp.test", quoted or not) and
// 121 routes ("10.1.0.0/16 10.77.0.254,0.0.0.0/0 10.77.0.1"). Nothing for codes that cannot be
// configured (0, 255 and those the server sets itself), a form the code does not take, or data
// over 255 bytes.
std::optional<Bytes> encodeDhcpOption(int code, std::string_view value);

// The options to add after the fixed ones: those the client's parameter request list names, in
// its order, then the others in the operator's order.
std::vector<const DhcpOptionData*> inRequestOrder(const std::vector<DhcpOptionData>& options,
                                                  std::string_view requested);

} // namespace quorvane
