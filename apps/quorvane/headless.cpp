#include "headless.h"

#include <cstdio>

namespace quorvane {

void HeadlessFrontEnd::onLogLine(const std::string& line)
{
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout); // a supervisor or a pipe sees each event as it happens
}

void HeadlessFrontEnd::onMessageBox(const std::string& text, MessageIcon)
{
    std::fprintf(stderr, "%s\n", text.c_str());
    m_service.status(text.substr(0, text.find('\n')));
}

void HeadlessFrontEnd::onErrorReport(const std::string& question, const std::string&)
{
    std::fprintf(stderr, "%s\n", question.c_str());
}

void HeadlessFrontEnd::onServerState(bool running)
{
    if (running) m_service.ready();
    m_service.status(running ? "Running" : "Paused");
}

void HeadlessFrontEnd::onClosed()
{
    m_service.stopping();
    m_closed();
}

} // namespace quorvane
