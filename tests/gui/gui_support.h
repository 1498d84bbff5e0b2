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

// The text of tests/data/gui/<name>; empty when it cannot be read.
inline QString dataText(const QString& name)
{
    QFile file(QUORVANE_SOURCE_DIR "/tests/data/gui/" + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Compares a text with tests/data/gui/<name>; when they differ the text is also written to
// <name>.actual in the working folder, to compare by eye.
inline void expectGolden(const QString& name, const QString& actual)
{
    const QString expected = dataText(name);
    QVERIFY2(!expected.isEmpty(), qPrintable(name));
    if (actual != expected) {
        QFile out(name + ".actual");
        if (out.open(QIODevice::WriteOnly)) out.write(actual.toUtf8());
    }
    QCOMPARE(actual, expected);
}

} // namespace quorvane::test
