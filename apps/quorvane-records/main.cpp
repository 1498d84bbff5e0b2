// quorvane-records [PROGRAM-FOLDER]: the DNS Records editor. The main window starts it with the
// program folder; without one it takes $QUORVANE_DIR, else the current folder.
#include "tools/records_window.h"

#include <QApplication>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments();
    const QString folder = args.size() > 1 ? args[1] : qEnvironmentVariable("QUORVANE_DIR", ".");
    quorvane::RecordsWindow window(folder.toStdString());
    window.show();
    return QApplication::exec();
}
