// The engine on its own thread: the Asio loop, the real network and clock and the Engine live
// there; the window reaches the engine only by posting work onto that loop.
#pragma once

#include "host/engine.h"

#include <functional>
#include <memory>

namespace quorvane {

// How the window sends commands to the engine. The work runs later, on the engine's thread; it
// may read and change the engine freely, and sends results back only through queued calls.
class EngineLink
{
public:
    virtual ~EngineLink() = default;
    virtual void post(std::function<void(Engine&)> work) = 0;
};

class EngineThread : public EngineLink
{
public:
    // Builds the engine; events arrive on the engine thread once start() has been called.
    EngineThread(EngineEvents& events, EngineOptions options);
    // Stops the loop and joins the thread.
    ~EngineThread() override;
    EngineThread(const EngineThread&) = delete;
    EngineThread& operator=(const EngineThread&) = delete;

    // Runs Main() and then the loop on the engine thread. TERM and INT close the program as the
    // operator's confirmed close does, HUP reloads the records, USR1 pauses or starts the server
    // and USR2 writes the support file.
    void start();
    void post(std::function<void(Engine&)> work) override;

private:
    // Kept out of this header: the Asio side must not meet Qt's keyword macros.
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

} // namespace quorvane
