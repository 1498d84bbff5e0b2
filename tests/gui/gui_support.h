// Shared by the window tests: screenshots for a person to look at.
#pragma once

#include <QDir>
#include <QFile>
#include <QString>
#include <QTest>
#include <QWidget>

namespace quorvane::test {

// Saves the widget as <QUORVANE_SCREENSHOTS>/<name>.png (the build folder's screenshots folder).
inline bool saveScreenshot(QWidget& widget, const QString& name)
{
    const QString folder = qEnvironmentVariable("QUORVANE_SCREENSHOTS", QDir::tempPath());
    QDir().mkpath(folder);
    return widget.grab().save(folder + "/" + name + ".png");
}

// Compares a text with tests/data/gui/<name>; when they differ the text is also written to
// <name>.actual in the working folder, to compare by eye.
inline void expectGolden(const QString& name, const QString& actual)
{
    QFile golden(QUORVANE_SOURCE_DIR "/tests/data/gui/" + name);
    QVERIFY2(golden.open(QIODevice::ReadOnly), qPrintable(name));
    const QString expected = QString::fromUtf8(golden.readAll());
    if (actual != expected) {
        QFile out(name + ".actual");
        if (out.open(QIODevice::WriteOnly)) out.write(actual.toUtf8());
    }
    QCOMPARE(actual, expected);
}

} // namespace quorvane::test
