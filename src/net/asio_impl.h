// Private to src/net: the Asio objects behind AsioLoop.
#pragma once

#include "net/asio_loop.h"

// Asio's own code draws -Wnull-dereference from GCC once inlined at -O2; the warning stays on for
// ours, but not for what the library instantiates from here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnull-dereference"
#include <asio.hpp>
#pragma GCC diagnostic pop

#include <optional>

namespace quorvane {

struct AsioLoop::Impl {
    asio::io_context io{1};
    std::optional<asio::signal_set> signals;
    std::function<void(int)> onSignal;
    void armSignals();
};

} // namespace quorvane
