// CleanName: the one cleaning of host and domain names that users and files give (the server name,
// DHCP domains, hosts-file names, zone names on the reload port). Pure; never throws.
#pragma once

#include <string>
#include <string_view>

namespace quorvane {

// Trims and lower-cases, keeps only a-z, 0-9, '-' and '.', drops leading and trailing dots and
// folds ".." to ".". The result has no trailing dot; an empty result means no usable name.
std::string CleanName(std::string_view text);

} // namespace quorvane
