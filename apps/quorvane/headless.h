// The front end without a window: log lines to standard output, message boxes to standard error,
// and readiness, watchdog and stopping to the service manager when one started us.
#pragma once

#include "host/engine_events.h"
#include "service_notify.h"

#include <functional>

namespace quorvane {

class HeadlessFrontEnd : public EngineEvents {
public:
    explicit HeadlessFrontEnd(std::function<void()> onClosed) : m_closed(std::move(onClosed)) {}

    void onLogLine(const std::string& line) override;
    void onMessageBox(const std::string& text, MessageIcon icon) override;
    // No one can answer the question: the text is printed and the answer is No.
    void onErrorReport(const std::string& question, const std::string& supportFile) override;
    // Ready once DNS answers (after "DNS service started."); a pause shows in the service's status.
    void onServerState(bool running) override;
    void onCaption(const std::string&) override {}
    void onStatusText(int, const std::string&) override {}
    void onTray(int) override {}
    void onLeases(const std::vector<clLease>&) override {}
    void onOptions(const OptionsData&) override {}
    void onCounters(const std::array<uint16_t, 60>&) override {}
    void onCacheSnapshot() override {}
    void onTick() override { m_service.watchdog(); }
    void onClosed() override;

private:
    std::function<void()> m_closed;
    ServiceNotifier m_service;
};

} // namespace quorvane
