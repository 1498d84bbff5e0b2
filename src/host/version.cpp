#include "host/version.h"

#include <cstdio>

namespace quorvane {

std::string versionText()
{
    char text[32];
    std::snprintf(text, sizeof text, "%d.%02d.%04d", QUORVANE_VERSION_MAJOR, QUORVANE_VERSION_MINOR,
                  QUORVANE_VERSION_PATCH);
    return text;
}

} // namespace quorvane
