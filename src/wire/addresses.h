// IPv4 addresses in their three forms: dotted text, 4-byte data, and reverse names
// ("4.3.2.1.in-addr.arpa."), with subnet tests. Pure functions; they never throw to the caller.
#pragma once

#include "net/bytes.h"

#include <string>
#include <string_view>

namespace quorvane {

// Dotted text of the first four bytes; missing bytes read as 0, bytes after the fourth are ignored.
std::string DataToIP(std::string_view data);

// Four bytes from dotted text. Each part gives its leading number, sign dropped (no number is 0,
// above 255 is 0); missing parts are 0 and parts after the fourth are ignored: "10.1" gives
// 10 1 0 0, "300.1.1.1" gives 0 1 1 1.
Bytes IPToData(std::string_view text);
// The address IPToData reads from text, as one number (host byte order).
uint32_t addressValue(std::string_view text);

// The address as 32 characters "0"/"1", most significant bit first.
std::string IPToBin(std::string_view text);

// True when a and b agree in every bit up to the mask's last set bit (a mask with holes counts as
// if they were set); a mask without set bits puts every pair in the same network.
bool SameNet(std::string_view a, std::string_view b, std::string_view mask) noexcept;

// False for an empty text, an address beginning "127.", and the network or broadcast address of
// the mask (host bits all 0 or all 1; with a mask of 32 bits there are no host bits and nothing is
// valid).
bool ValidIP(std::string_view address, std::string_view mask) noexcept;

// The plain dotted form of any text IPToData accepts: "010.001.1" gives "10.1.1.0".
std::string CanonicalIP(std::string_view text);

// Address data from a reverse name, which must end exactly in ".in-addr.arpa." (lower case,
// trailing dot); anything else gives four zero bytes. Parts are read as IPToData reads them,
// except that a value above 255 gives 255, and a name with fewer than four numbers fills the
// address from the right: "1.168.192.in-addr.arpa." gives 0 192 168 1.
Bytes ArpaToData(std::string_view name);
std::string ArpaToIP(std::string_view name);

// The reverse name of address data ("1.0.0.10.in-addr.arpa." for 10 0 0 1); missing bytes are 0.
std::string DataToArpa(std::string_view data);

} // namespace quorvane
