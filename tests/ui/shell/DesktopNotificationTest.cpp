#include "ui/shell/DesktopNotification.h"

#include <QDBusConnection>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>
#include <QVariantMap>

namespace {

// What a desktop's notification service receives.
class NotificationService final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    // The application, icon, summary, body and desktop entry of each call.
    QList<QStringList> calls;

public slots:
    uint Notify(const QString &application, uint, const QString &icon, const QString &summary,
                const QString &body, const QStringList &, const QVariantMap &hints, int)
    {
        calls.append({application, icon, summary, body, hints.value("desktop-entry").toString()});
        return uint(calls.size());
    }
};

} // namespace

// The notification goes to the freedesktop service on the session bus: a private bus and a
// service of the test's own stand in for the desktop's.
class DesktopNotificationTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        if (daemon.isEmpty())
            QSKIP("dbus-daemon is not installed");
        m_bus.start(daemon, {QStringLiteral("--session"), QStringLiteral("--nofork"),
                             QStringLiteral("--print-address")});
        QVERIFY(m_bus.waitForReadyRead(5000));
        const QByteArray address = m_bus.readLine().trimmed();
        QVERIFY(!address.isEmpty());
        // Read by the application's session-bus connection when it is first made.
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        QDBusConnection service =
            QDBusConnection::connectToBus(QString::fromUtf8(address), QStringLiteral("desktop"));
        QVERIFY(service.isConnected());
        QVERIFY(service.registerService(QStringLiteral("org.freedesktop.Notifications")));
        QVERIFY(service.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &m_service,
                                       QDBusConnection::ExportAllSlots));
    }

    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("desktop"));
        m_bus.kill();
        m_bus.waitForFinished();
    }

    void notificationReachesTheDesktopService()
    {
        QGuiApplication::setApplicationDisplayName(QStringLiteral("Corvalin Studio"));
        QGuiApplication::setDesktopFileName(QStringLiteral("ru.corvalin.Studio"));
        DesktopNotification::show(QStringLiteral("Восстановление завершено"),
                                  QStringLiteral("Часы восстановлены успешно."));
        QTRY_COMPARE(m_service.calls,
                     (QList<QStringList>{{"Corvalin Studio", "ru.corvalin.Studio", "Восстановление завершено",
                                          "Часы восстановлены успешно.", "ru.corvalin.Studio"}}));
    }

private:
    QProcess m_bus;
    NotificationService m_service;
};

QTEST_MAIN(DesktopNotificationTest)
#include "DesktopNotificationTest.moc"
