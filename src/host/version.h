// The program's version as shown to users: major "#0", minor "00", revision "0000" ("0.01.0001").
#pragma once

#include <string>

namespace quorvane {

std::string versionText();

} // namespace quorvane
