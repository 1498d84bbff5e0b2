// The io_context and the signal set of the program.
#include "net/asio_impl.h"

namespace quorvane {

AsioLoop::AsioLoop() : m_impl(std::make_unique<Impl>()) {}
AsioLoop::~AsioLoop() = default;

void AsioLoop::run()
{
    auto guard = asio::make_work_guard(m_impl->io);
    m_impl->io.run();
}

void AsioLoop::stop()
{
    m_impl->io.stop();
}

void AsioLoop::post(std::function<void()> work)
{
    asio::post(m_impl->io, std::move(work));
}

void AsioLoop::watchSignals(std::span<const int> signals, std::function<void(int)> onSignal)
{
    m_impl->signals.emplace(m_impl->io);
    for (int number : signals) m_impl->signals->add(number);
    m_impl->onSignal = std::move(onSignal);
    m_impl->armSignals();
}

void AsioLoop::Impl::armSignals()
{
    signals->async_wait([this](std::error_code ec, int number) {
        if (ec) return; // the set was cancelled at shut-down
        onSignal(number);
        armSignals();
    });
}

} // namespace quorvane
