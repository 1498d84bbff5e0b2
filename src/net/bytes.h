// The byte string of every message and record: zero bytes allowed, cheap substring search.
#pragma once

#include <string>

namespace quorvane {

using Bytes = std::string;

} // namespace quorvane
