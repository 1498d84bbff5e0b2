// The desktop program: the Qt application, the engine on its own thread and the main window,
// from start until the engine has closed.
#pragma once

#include "ui/engine_link.h"

#include <QStringList>

#include <filesystem>

namespace quorvane {

struct DesktopSetup
{
    std::filesystem::path programFolder;
    std::filesystem::path executable;
    QStringList manualCandidates; // where the manual may lie, the first found is opened
    MakeEngine makeEngine;
};

// Runs the program with its window; returns the exit code (0 after a normal close).
// QUORVANE_UI_PROBE=<file> measures how late the window's event loop runs a 50 ms timer and
// writes the median and the worst lateness to that file at exit.
int runDesktop(int& argc, char** argv, const DesktopSetup& setup);

} // namespace quorvane
