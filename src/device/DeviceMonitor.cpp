#include "device/DeviceMonitor.h"

#include "device/UsbListing.h"
#include "device/UsbProductMatch.h"
#include "device/identity/IdentificationListing.h"
#include "tools/ProcessRunner.h"
#include "tools/ToolLocator.h"

#include <QCoroTimer>
#include <QDir>
#include <QPointer>

#include <chrono>

namespace {

constexpr std::chrono::seconds pauseBetweenChecks{3};

// Runs on the main thread for the life of the process. A destroyed monitor leaves the passes
// empty rather than ending the loop: nothing ever cancels it.
QCoro::Task<> pollForever(QPointer<DeviceMonitor> monitor)
{
    for (;;) {
        if (monitor)
            co_await monitor->poll();
        co_await QCoro::sleepFor(pauseBetweenChecks);
    }
}

} // namespace

DeviceMonitor::DeviceMonitor(QObject *parent)
    : QObject(parent),
      m_connectionHint(QStringLiteral("Подключите сервисный кабель и включите Recovery/DFU")),
      m_recoveryProductIDs{4642, 4647, 4736, 4737, 4738, 4739, 4920, UsbProductMatch::kisProductID}
{}

DeviceMonitor::~DeviceMonitor() = default;

void DeviceMonitor::start()
{
    if (m_pollingTask)
        return;
    m_pollingTask.emplace(pollForever(QPointer<DeviceMonitor>(this)));
}

QCoro::Task<> DeviceMonitor::poll()
{
    const QPointer<DeviceMonitor> self(this);
    setIsChecking(true);

    const QString listing = co_await UsbListing::fetch();
    if (!self)
        co_return;

    if (!UsbProductMatch::firstListed(listing, m_recoveryProductIDs)) {
        setIsChecking(false);
        setConnectedWatch(std::nullopt);
        setConnectionHint(QStringLiteral("Подключите сервисный кабель и включите Recovery/DFU"));
        co_return;
    }
    if (UsbProductMatch::listsKIS(listing)) {
        co_await pollConfiguratorKIS();
        co_return;
    }

    const QString irecovery = QDir(ToolLocator::toolsRoot()).filePath(QStringLiteral("bin/irecovery"));
    const QStringList arguments{QStringLiteral("-q")};
    const ProcessResult identification = co_await ProcessRunner::run(irecovery, arguments);
    if (!self)
        co_return;

    setIsChecking(false);
    if (identification.status != 0) {
        setConnectedWatch(std::nullopt);
        setConnectionHint(QStringLiteral("Устройство найдено, но Recovery/DFU не удалось прочитать"));
        co_return;
    }
    std::optional<ConnectedWatch> watch = IdentificationListing::recoveryWatch(identification.output);
    if (!watch) {
        setConnectedWatch(std::nullopt);
        setConnectionHint(QStringLiteral("Подключённое Recovery/DFU-устройство не является Apple Watch"));
        co_return;
    }
    setConnectedWatch(std::move(watch));
    setConnectionHint(QStringLiteral("Recovery/DFU готов к восстановлению"));
}

void DeviceMonitor::setConnectedWatch(std::optional<ConnectedWatch> watch)
{
    m_connectedWatch = std::move(watch);
    emit connectedWatchChanged();
}

void DeviceMonitor::setIsChecking(bool isChecking)
{
    m_isChecking = isChecking;
    emit isCheckingChanged();
}

void DeviceMonitor::setConnectionHint(QString hint)
{
    m_connectionHint = std::move(hint);
    emit connectionHintChanged();
}
