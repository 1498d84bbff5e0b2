// The one event loop of the program: an Asio io_context run on the engine thread.
// This folder is the only code that includes Asio; apps/ gets Asio objects only through these classes.
#pragma once

#include <functional>
#include <span>
#include <memory>

namespace quorvane {

class AsioLoop {
public:
    AsioLoop();
    ~AsioLoop();
    AsioLoop(const AsioLoop&) = delete;
    AsioLoop& operator=(const AsioLoop&) = delete;

    // Runs handlers until stop() is called.
    void run();
    // Makes run() return once the handler in progress ends. Safe from any thread.
    void stop();
    // Queues work onto the loop's thread. Safe from any thread.
    void post(std::function<void()> work);
    // Calls onSignal(number) on the loop's thread for each of the given signals as it arrives.
    void watchSignals(std::span<const int> signals, std::function<void(int)> onSignal);

    struct Impl;
    Impl& impl() { return *m_impl; }

private:
    std::unique_ptr<Impl> m_impl;
};

} // namespace quorvane
