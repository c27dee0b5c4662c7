// The KIS half of the device monitor: a watch on its Debug USB port is identified through
// Apple Configurator's device list instead of irecovery.
#include "device/DeviceMonitor.h"

#include "device/ConfiguratorDeviceList.h"
#include "tools/DeviceTable.h"
#include "tools/ProcessRunner.h"
#include "tools/ToolLocator.h"

#include <QPointer>

namespace {

const QString kisMode = QStringLiteral("DFU via Debug USB (KIS)");

const QString &readyHint()
{
    static const QString hint = QStringLiteral("KIS/DFU готов к восстановлению");
    return hint;
}

// Imitates the key/value listing of irecovery, so every watch carries its identity as text.
QString kisRawOutput(const QString &productType, const DeviceMonitor::WatchIdentity &identity,
                     const QString &ecid)
{
    const QStringList lines{QStringLiteral("PRODUCT: ") + productType,
                            QStringLiteral("MODEL: ") + identity.model,
                            QStringLiteral("NAME: ") + identity.name, QStringLiteral("MODE: ") + kisMode,
                            QStringLiteral("ECID: ") + ecid};
    return lines.join(u'\n');
}

} // namespace

QCoro::Task<> DeviceMonitor::pollConfiguratorKIS()
{
    const QPointer<DeviceMonitor> self(this);
    // Configurator is slow, so a published KIS watch is kept until the bus stops showing a KIS
    // device. A watch swapped for another without that ID ever leaving the bus keeps the first
    // watch's identity.
    if (m_connectedWatch && m_connectedWatch->transport == WatchTransport::kis) {
        setIsChecking(false);
        setConnectionHint(readyHint());
        co_return;
    }

    const std::optional<QString> cfgutil = ToolLocator::cfgutil();
    if (!cfgutil) {
        setIsChecking(false);
        setConnectedWatch(std::nullopt);
        setConnectionHint(QStringLiteral("Для KIS/DFU установите Apple Configurator из App Store"));
        co_return;
    }

    const QStringList arguments{QStringLiteral("--format"), QStringLiteral("JSON"), QStringLiteral("list")};
    const ProcessResult result = co_await ProcessRunner::run(*cfgutil, arguments);
    if (!self)
        co_return;
    setIsChecking(false);

    const std::optional<ConfiguratorDeviceList::Device> device =
        result.status == 0 ? ConfiguratorDeviceList::firstWatch(result.output) : std::nullopt;
    if (!device) {
        setConnectedWatch(std::nullopt);
        setConnectionHint(QStringLiteral("Apple Configurator видит KIS, но не смог прочитать Apple Watch"));
        co_return;
    }

    const WatchIdentity identity = co_await recoveryIdentity(device->deviceType);
    if (!self)
        co_return;
    setConnectedWatch(ConnectedWatch{device->deviceType, identity.model, identity.name, kisMode, device->ecid,
                                     kisRawOutput(device->deviceType, identity, device->ecid),
                                     WatchTransport::kis});
    setConnectionHint(readyHint());
}

QCoro::Task<DeviceMonitor::WatchIdentity> DeviceMonitor::recoveryIdentity(QString productType)
{
    const QString table = co_await DeviceTable::fetch();
    for (const DeviceTable::Row &row : DeviceTable::parse(table)) {
        if (row.productType == productType)
            co_return WatchIdentity{row.hardwareModel, row.name};
    }
    co_return WatchIdentity{QStringLiteral("—"), QStringLiteral("Apple Watch")};
}
