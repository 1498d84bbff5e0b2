// The queue of secondary zones to poll for changes: the notifications and the reload port put
// zones on it, the secondary-zone client works it off.
#pragma once

#include <string>

namespace quorvane {

class ZoneQueue
{
public:
    virtual ~ZoneQueue() = default;
    // Asks for a poll of the zone's primary soon; a zone already waiting is not queued twice.
    virtual void Que(const std::string& zone) = 0;
};

} // namespace quorvane
