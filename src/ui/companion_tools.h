// The companion programs of the Tools menu (look-up tool, cache snapshot viewer, record editor):
// where they are found, how they are started, and what the operator is told when they cannot be.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace quorvane {

enum class CompanionTool { LookUp, CacheSnapshot, RecordEditor };

class CompanionTools
{
public:
    // Starts a program detached; false when it could not be started.
    using Starter = std::function<bool(const QString& program, const QStringList& arguments,
                                       const QString& workingFolder)>;

    // The tools are looked for in each of folders in turn (the executable's folder, then the
    // program folder); they run in the program folder.
    CompanionTools(QStringList folders, QString programFolder, Starter starter);

    // False when the tool is in none of the folders or would not start.
    bool start(CompanionTool tool, const QStringList& arguments) const;

    static QString programName(CompanionTool tool);
    // What the operator is told when start() fails.
    static QString failureMessage(CompanionTool tool);

private:
    QStringList m_folders;
    QString m_programFolder;
    Starter m_starter;
};

} // namespace quorvane
