// The notification-area icon: three pictures (normal, activity, error), and a click that asks
// for the main window.
#pragma once

#include <QObject>
#include <QSystemTrayIcon>

namespace quorvane {

class Tray : public QObject
{
    Q_OBJECT
public:
    explicit Tray(QObject* parent = nullptr);

    // 0 normal, 1 activity, 2 error; the picture changes only when the state does.
    void setState(int state);
    // Shows the icon where the desktop has a notification area.
    void show();

signals:
    void restoreRequested();

private:
    void onActivated(QSystemTrayIcon::ActivationReason reason);

    QSystemTrayIcon m_icon;
    int m_state = -1;
};

} // namespace quorvane
