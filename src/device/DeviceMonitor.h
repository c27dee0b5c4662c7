#pragma once

#include "app/records/ConnectedWatch.h"

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
    Q_PROPERTY(std::optional<ConnectedWatch> connectedWatch READ connectedWatch NOTIFY connectedWatchChanged)
    Q_PROPERTY(bool isChecking READ isChecking NOTIFY isCheckingChanged)
    Q_PROPERTY(QString connectionHint READ connectionHint NOTIFY connectionHintChanged)

public:
    // The hardware model and marketing name of a product type, from the shipped device table.
    struct WatchIdentity {
        QString model;
        QString name;
    };

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
    // Looks `productType` up in `irecovery --devices`; "—" and "Apple Watch" when it is not
    // there or the tool cannot run.
    static QCoro::Task<WatchIdentity> recoveryIdentity(QString productType);

signals:
    void connectedWatchChanged();
    void isCheckingChanged();
    void connectionHintChanged();

private:
    // Finishes a check whose bus listing shows a KIS device, through Apple Configurator.
    QCoro::Task<> pollConfiguratorKIS();

    void setConnectedWatch(std::optional<ConnectedWatch> watch);
    void setIsChecking(bool isChecking);
    void setConnectionHint(QString hint);

    std::optional<ConnectedWatch> m_connectedWatch;
    bool m_isChecking = false;
    QString m_connectionHint;
    // The loop outlives the monitor (it holds it weakly); this only records that it exists.
    std::optional<QCoro::Task<>> m_pollingTask;
    QList<int> m_recoveryProductIDs;
};
