// quorvane-snapshot [FILE]: the Cache Snapshot Viewer. The main window starts it on the
// snapshot.dat it has just written; without a file it reads snapshot.dat in the current folder.
#include "tools/snapshot_window.h"

#include <QApplication>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments();
    quorvane::SnapshotWindow window(args.value(1, "snapshot.dat").toStdString());
    window.show();
    return QApplication::exec();
}
