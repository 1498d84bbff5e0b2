// Shared by the window tests: screenshots for a person to look at.
#pragma once

#include <QDir>
#include <QString>
#include <QWidget>

namespace quorvane::test {

// Saves the widget as <QUORVANE_SCREENSHOTS>/<name>.png (the build folder's screenshots folder).
inline bool saveScreenshot(QWidget& widget, const QString& name)
{
    const QString folder = qEnvironmentVariable("QUORVANE_SCREENSHOTS", QDir::tempPath());
    QDir().mkpath(folder);
    return widget.grab().save(folder + "/" + name + ".png");
}

} // namespace quorvane::test
