#include "ui/tray.h"

#include <QIcon>

#include <array>

namespace quorvane {

namespace {

const std::array<const char*, 3> kTrayIcons{":/icons/tray-normal.svg", ":/icons/tray-activity.svg",
                                            ":/icons/tray-error.svg"};

} // namespace

Tray::Tray(QObject* parent) : QObject(parent), m_icon(this)
{
    setState(0);
    m_icon.setToolTip(QStringLiteral("Quorvane"));
    connect(&m_icon, &QSystemTrayIcon::activated, this, &Tray::onActivated);
}

void Tray::setState(int state)
{
    if (state < 0 || state >= static_cast<int>(kTrayIcons.size()) || state == m_state) return;
    m_state = state;
    m_icon.setIcon(QIcon(QString::fromLatin1(kTrayIcons[static_cast<size_t>(state)])));
}

void Tray::show()
{
    if (QSystemTrayIcon::isSystemTrayAvailable()) m_icon.show();
}

void Tray::onActivated(QSystemTrayIcon::ActivationReason reason)
{
    if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) emit restoreRequested();
}

} // namespace quorvane
