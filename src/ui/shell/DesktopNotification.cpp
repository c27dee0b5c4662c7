#include "ui/shell/DesktopNotification.h"

#include <QGuiApplication>

#if CORVALIN_HAS_DBUS
#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>
#else
#include <QApplication>
#include <QSystemTrayIcon>
#include <QTimer>
#endif

namespace DesktopNotification {

#if CORVALIN_HAS_DBUS

void show(const QString &summary, const QString &body)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    // The desktop entry's name ties the message to the application's icon and settings.
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QGuiApplication::desktopFileName()},
                            {QStringLiteral("urgency"), QVariant::fromValue<uchar>(1)}};
    call << QGuiApplication::applicationDisplayName() << uint(0) << QGuiApplication::desktopFileName()
         << summary << body << QStringList() << hints << int(-1);
    // No answer is awaited: without a notification service the window's own alert remains.
    QDBusConnection::sessionBus().send(call);
}

#else

void show(const QString &summary, const QString &body)
{
    if (!QSystemTrayIcon::isSystemTrayAvailable() || !QSystemTrayIcon::supportsMessages())
        return;
    // The message needs an icon of its own for as long as it is shown.
    auto *icon = new QSystemTrayIcon(QApplication::windowIcon(), qApp);
    icon->show();
    icon->showMessage(summary, body, QSystemTrayIcon::Information);
    constexpr int shownMs = 15000;
    QTimer::singleShot(shownMs, icon, &QObject::deleteLater);
}

#endif

} // namespace DesktopNotification
