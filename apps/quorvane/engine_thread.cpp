// Included before anything of Qt: the Asio headers use names that Qt defines as macros.
#include "engine_thread.h"
#include "curl_fetcher.h"
#include "net/asio_loop.h"
#include "net/asio_network.h"
#include "net/system_clock.h"

#include <pthread.h>

#include <thread>

namespace quorvane {

struct EngineThread::Parts
{
    Parts(EngineEvents& events, EngineOptions options)
        : network(loop), clock(loop), engine(network, clock, events, std::move(options)),
          lists([this](std::function<void()> work) { loop.post(std::move(work)); }, &fetcher)
    {
        engine.setListLoader(lists);
    }
    AsioLoop loop;
    AsioNetwork network;
    SystemClock clock;
    Engine engine;
    CurlFetcher fetcher;
    ThreadListLoader lists; // block lists built beside the engine thread
    std::thread thread;
};

EngineThread::EngineThread(EngineEvents& events, EngineOptions options)
    : m_parts(std::make_unique<Parts>(events, std::move(options)))
{
}

EngineThread::~EngineThread()
{
    m_parts->loop.stop();
    if (m_parts->thread.joinable()) m_parts->thread.join();
}

void EngineThread::start()
{
    Engine& engine = m_parts->engine;
    m_parts->loop.watchSignals(Engine::kSignals, [&engine](int signal) { engine.onSignal(signal); });
    m_parts->thread = std::thread([parts = m_parts.get()] {
        pthread_setname_np(pthread_self(), "engine"); // found by name in /proc for CPU figures
        parts->engine.Main();
        parts->loop.run();
    });
}

void EngineThread::send(EngineCommand command)
{
    m_parts->loop.post([&engine = m_parts->engine, command = std::move(command)] { engine.run(command); });
}

} // namespace quorvane
