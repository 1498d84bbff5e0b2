// Private to src/net: the Asio objects behind AsioLoop.
#pragma once

#include "net/asio_loop.h"

#include <asio.hpp>
#include <optional>

namespace quorvane {

struct AsioLoop::Impl {
    asio::io_context io{1};
    std::optional<asio::signal_set> signals;
    std::function<void(int)> onSignal;
    void armSignals();
};

} // namespace quorvane
