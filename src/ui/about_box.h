// The about box: program icon, name, version and what the program is.
// This file also registers the icon resources (":/icons/...") for every window that links it.
#pragma once

class QWidget;

namespace quorvane {

// Opens the about box window-modal over parent (or alone when parent is null) and returns at once;
// the box deletes itself when closed.
void showAboutBox(QWidget* parent);

} // namespace quorvane
