// The engine-level fixture: the whole engine in a temporary program folder, on a fake network and
// clock, telling a recording front end what it does.
#pragma once

#include "host/engine.h"
#include "support/dns_message.h"
#include "support/fake_clock.h"
#include "support/fake_network.h"
#include "support/recording_events.h"
#include "support/temp_folder.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorvane::test {

struct EngineFixture
{
    // The settings file as given; none at all when ini is not given.
    explicit EngineFixture(std::optional<std::string> ini = std::nullopt,
                           DateTime start = fromCalendar({2026, 11, 22, 12, 0, 0}))
        : clock(start)
    {
        std::filesystem::create_directories(folder.path() / "data");
        if (ini) folder.write("quorvane.ini", *ini);
    }

    // A new engine on the same network, not yet started.
    Engine& make()
    {
        engine = std::make_unique<Engine>(network, clock, events,
                                          EngineOptions{folder.path(), "/opt/quorvane/quorvane", true});
        return *engine;
    }
    void start() { make().Main(); }
    // The program closed and started again on a fresh network, as after a restart.
    void restart()
    {
        engine.reset(); // the old engine lets go of the network before the next one takes it
        network = FakeNetwork();
        start();
    }
    bool dnsBound() const
    {
        return network.findOpen(false, 53) != kNoSocket && network.findOpen(true, 53) != kNoSocket;
    }
    // What the server sends back to a datagram on UDP 53, decoded; ok is false unless exactly one
    // datagram went out.
    DecodedReply ask(const Bytes& query, Endpoint from = {0x0A000005, 999})
    {
        network.sent.clear();
        network.deliver(network.findOpen(false, 53), from, query);
        return network.sent.size() == 1 ? decodeReply(network.sent[0].data) : DecodedReply{};
    }
    // The answer section of the reply to an A query without recursion, or "no reply".
    Lines answer(const std::string& name)
    {
        const DecodedReply reply = ask(makeQuery(1, name, 1, false));
        return reply.ok ? reply.section(2) : Lines{"no reply"};
    }
    bool logged(const std::string& line) const
    {
        return std::find(events.lines.begin(), events.lines.end(), line) != events.lines.end();
    }
    // For golden files: what the front end was told and the datagrams sent since the last call (then
    // forgotten), the state it shows and the sockets open now; the program folder reads as "FOLDER".
    std::string told(const std::string& step)
    {
        std::string out = "== " + step + '\n';
        for (const auto& line : events.lines) out += "log " + line + '\n';
        for (const auto& text : events.messages) out += "message " + text + '\n';
        for (const auto& text : events.reports) out += "report " + text + '\n';
        for (const bool running : events.states) out += running ? "state running\n" : "state stopped\n";
        out += "status " + events.status + ", tray " + std::to_string(events.tray) + ", caption " + events.caption +
               (engine && engine->serverRunning() ? ", running" : "") + (events.closed ? ", closed" : "") + '\n';
        for (const auto& sent : network.sent)
            out += "sent from :" + std::to_string(network.localPort(sent.socket)) + " to " +
                   addressText(sent.to.address) + ':' + std::to_string(sent.to.port) + '\n' +
                   replyText(decodeReply(sent.data));
        network.sent.clear();
        for (const auto& [id, bound] : network.open())
            out += (bound.tcp ? "tcp " : "udp ") + bound.address + ':' + std::to_string(bound.port) + '\n';
        events.lines.clear();
        events.messages.clear();
        events.reports.clear();
        events.states.clear();
        events.closed = false;
        for (size_t at; (at = out.find(folder.path().string())) != std::string::npos;)
            out.replace(at, folder.path().string().size(), "FOLDER");
        return out;
    }

    FakeClock clock;
    FakeNetwork network;
    RecordingEvents events;
    TempFolder folder;
    std::unique_ptr<Engine> engine;
};

} // namespace quorvane::test
