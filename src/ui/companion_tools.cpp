#include "ui/companion_tools.h"

#include <QDir>
#include <QFileInfo>

namespace quorvane {

CompanionTools::CompanionTools(QStringList folders, QString programFolder, Starter starter)
    : m_folders(std::move(folders)), m_programFolder(std::move(programFolder)), m_starter(std::move(starter))
{
}

QString CompanionTools::programName(CompanionTool tool)
{
    switch (tool) {
    case CompanionTool::LookUp:
        return QStringLiteral("quorvane-lookup");
    case CompanionTool::CacheSnapshot:
        return QStringLiteral("quorvane-snapshot");
    case CompanionTool::RecordEditor:
        return QStringLiteral("quorvane-records");
    }
    return {};
}

QString CompanionTools::failureMessage(CompanionTool tool)
{
    switch (tool) {
    case CompanionTool::LookUp:
        return QStringLiteral("Could not open DNS Look Up !");
    case CompanionTool::CacheSnapshot:
        return QStringLiteral("Could not open Cache Snapshot Viewer !");
    case CompanionTool::RecordEditor:
        return QStringLiteral("Could not open DNS Records Editor !");
    }
    return {};
}

bool CompanionTools::start(CompanionTool tool, const QStringList& arguments) const
{
    for (const QString& folder : m_folders) {
        const QFileInfo program(QDir(folder).filePath(programName(tool)));
        if (program.isFile() && program.isExecutable())
            return m_starter(program.absoluteFilePath(), arguments, m_programFolder);
    }
    return false;
}

} // namespace quorvane
