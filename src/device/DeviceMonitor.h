#pragma once

#include "device/ConnectedWatch.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QString>

#include <optional>

// Watches the USB bus for a watch in Recovery/DFU (identified with irecovery) or KIS/DFU
// (identified through Apple Configurator) and publishes what it finds. Every assignment of a
// published value emits its signal, even when the value is unchanged.
class DeviceMonitor final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DeviceMonitor)
    Q_PROPERTY(bool isChecking READ isChecking NOTIFY isCheckingChanged)
    Q_PROPERTY(QString connectionHint READ connectionHint NOTIFY connectionHintChanged)

public:
    explicit DeviceMonitor(QObject *parent = nullptr);
    ~DeviceMonitor() override;

    const std::optional<ConnectedWatch> &connectedWatch() const { return m_connectedWatch; }
    bool isChecking() const { return m_isChecking; }
    const QString &connectionHint() const { return m_connectionHint; }
    const QList<int> &recoveryProductIDs() const { return m_recoveryProductIDs; }

    // Starts the polling loop once; later calls do nothing.
    void start();
    // One check of the bus, ending with the published state updated.
    QCoro::Task<> poll();

signals:
    void connectedWatchChanged();
    void isCheckingChanged();
    void connectionHintChanged();

private:
    std::optional<ConnectedWatch> m_connectedWatch;
    bool m_isChecking = false;
    QString m_connectionHint;
    QList<int> m_recoveryProductIDs;
};
