// The engine on its own thread: the Asio loop, the real network and clock and the Engine live
// there; the window reaches the engine only by sending commands onto that loop.
#pragma once

#include "ui/engine_link.h"

#include <memory>

namespace quorvane {

class EngineThread : public EngineRunner
{
public:
    // Builds the engine; events arrive on the engine thread once start() has been called.
    EngineThread(EngineEvents& events, EngineOptions options);
    // Stops the loop and joins the thread.
    ~EngineThread() override;
    EngineThread(const EngineThread&) = delete;
    EngineThread& operator=(const EngineThread&) = delete;

    // Runs Main() and then the loop on the engine thread, which also obeys the program's signals.
    void start() override;
    void send(EngineCommand command) override;

private:
    // Kept out of this header: the Asio side must not meet Qt's keyword macros.
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

} // namespace quorvane
