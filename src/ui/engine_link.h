// How the window reaches the engine: it sends commands, which carry copies only, and the engine
// runs them later on its own thread; what comes back comes back through the bridge's signals.
#pragma once

#include "host/engine.h"

#include <functional>
#include <memory>

namespace quorvane {

class EngineLink
{
public:
    virtual ~EngineLink() = default;
    virtual void send(EngineCommand command) = 0;
};

// The engine on a thread of its own, as the desktop program runs it. Made in apps/, the only code
// that builds Asio objects; start() runs Main() and then the loop there.
class EngineRunner : public EngineLink
{
public:
    virtual void start() = 0;
};
using MakeEngine = std::function<std::unique_ptr<EngineRunner>(EngineEvents& events, EngineOptions options)>;

} // namespace quorvane
