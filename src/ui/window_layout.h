// The window layout string kept in the settings as "Windows": numbers separated by single blanks.
// The main window's state (0 normal, 1 minimised, 2 maximised), and for a normal window its left,
// top, width and height; then for each child window (graph, log, leases) 1 or 0 for open, and for
// an open one its state and, when normal, its left, top, width and height. Pure functions.
#pragma once

#include <array>
#include <optional>
#include <string>

namespace quorvane {

enum class WindowState { Normal = 0, Minimised = 1, Maximised = 2 };

struct WindowPlacement
{
    WindowState state = WindowState::Normal;
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0; // the four numbers mean something only for a normal window
    bool operator==(const WindowPlacement&) const = default;
};

struct ChildPlacement
{
    bool open = false;
    WindowPlacement placement;
    bool operator==(const ChildPlacement&) const = default;
};

enum ChildWindow { kGraphWindow = 0, kLogWindow = 1, kLeasesWindow = 2, kChildWindows = 3 };

struct WindowLayout
{
    WindowPlacement main;
    std::array<ChildPlacement, kChildWindows> children;
    bool operator==(const WindowLayout&) const = default;
};

std::string formatLayout(const WindowLayout& layout);
// Nothing for an empty string or one that does not read as a layout (a missing child entry at
// the end counts as closed).
std::optional<WindowLayout> parseLayout(const std::string& text);
// Whether the saved layout has the Active Log open: a program that starts hidden keeps filling it.
bool layoutHasActiveLog(const std::string& text);

} // namespace quorvane
