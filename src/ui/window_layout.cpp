#include "ui/window_layout.h"

#include <sstream>

namespace quorvane {

namespace {

void writePlacement(std::ostringstream& out, const WindowPlacement& p)
{
    out << static_cast<int>(p.state);
    if (p.state == WindowState::Normal)
        out << ' ' << p.left << ' ' << p.top << ' ' << p.width << ' ' << p.height;
}

// Reads numbers one at a time; a missing or bad number makes the whole read fail.
class NumberReader
{
public:
    explicit NumberReader(const std::string& text) : m_in(text) {}
    bool atEnd() { return (m_in >> std::ws).eof(); }
    bool next(int& value) { return static_cast<bool>(m_in >> value); }

    bool placement(WindowPlacement& p)
    {
        int state = 0;
        if (!next(state) || state < 0 || state > 2) return false;
        p.state = static_cast<WindowState>(state);
        if (p.state != WindowState::Normal) return true;
        return next(p.left) && next(p.top) && next(p.width) && next(p.height) && p.width >= 0 &&
               p.height >= 0;
    }

private:
    std::istringstream m_in;
};

} // namespace

std::string formatLayout(const WindowLayout& layout)
{
    std::ostringstream out;
    writePlacement(out, layout.main);
    for (const ChildPlacement& child : layout.children) {
        out << ' ' << (child.open ? 1 : 0);
        if (!child.open) continue;
        out << ' ';
        writePlacement(out, child.placement);
    }
    return out.str();
}

std::optional<WindowLayout> parseLayout(const std::string& text)
{
    NumberReader in(text);
    WindowLayout layout;
    if (in.atEnd() || !in.placement(layout.main)) return std::nullopt;
    for (ChildPlacement& child : layout.children) {
        if (in.atEnd()) break;
        int open = 0;
        if (!in.next(open) || (open != 0 && open != 1)) return std::nullopt;
        child.open = open == 1;
        if (child.open && !in.placement(child.placement)) return std::nullopt;
    }
    if (!in.atEnd()) return std::nullopt;
    return layout;
}

bool layoutHasActiveLog(const std::string& text)
{
    const auto layout = parseLayout(text);
    return layout && layout->children[kLogWindow].open;
}

} // namespace quorvane
