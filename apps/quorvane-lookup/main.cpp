// quorvane-lookup [SERVER]: DNS Look Up. The main window starts it with the address the server
// answers on; without one it asks 127.0.0.1. SERVER may be "address#port".
#include "tools/lookup_window.h"

#include <QApplication>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments();
    quorvane::LookupWindow window(args.value(1));
    window.show();
    return QApplication::exec();
}
