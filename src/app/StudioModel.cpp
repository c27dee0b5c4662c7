#include "app/StudioModel.h"

#include "catalog/CatalogService.h"
#include "device/DeviceMonitor.h"
#include "download/DownloadManager.h"
#include "restore/RestoreManager.h"

StudioModel::StudioModel(QObject *parent)
    : StudioModel(CatalogService::defaultCatalogURL(), CatalogService::defaultAllowedHosts(), parent)
{}

StudioModel::StudioModel(const QUrl &catalogURL, const QStringList &allowedHosts, QObject *parent)
    : QObject(parent), m_deviceMonitor(new DeviceMonitor(this)), m_downloader(new DownloadManager(this)),
      m_restoreManager(new RestoreManager(this)),
      m_catalogService(new CatalogService(catalogURL, allowedHosts, this))
{}

StudioModel::~StudioModel() = default;

void StudioModel::setNavigation(std::optional<NavigationSection> section)
{
    m_navigation = section;
    emit navigationChanged();
}

void StudioModel::setSearchText(const QString &text)
{
    m_searchText = text;
    emit searchTextChanged();
}

void StudioModel::setShowRestoreConfirmation(bool shown)
{
    m_showRestoreConfirmation = shown;
    emit showRestoreConfirmationChanged();
}

void StudioModel::setShowUnsignedWarning(bool shown)
{
    m_showUnsignedWarning = shown;
    emit showUnsignedWarningChanged();
}

void StudioModel::setFirmware(QList<WatchFirmware> firmware)
{
    m_firmware = std::move(firmware);
    emit firmwareChanged();
}

void StudioModel::setSelectedFirmware(std::optional<WatchFirmware> firmware)
{
    m_selectedFirmware = std::move(firmware);
    emit selectedFirmwareChanged();
}

void StudioModel::setIsLoadingCatalog(bool loading)
{
    m_isLoadingCatalog = loading;
    emit isLoadingCatalogChanged();
}

void StudioModel::setCatalogError(std::optional<QString> error)
{
    m_catalogError = std::move(error);
    emit catalogErrorChanged();
}

void StudioModel::setSelectedIPSW(std::optional<QString> path)
{
    m_selectedIPSW = std::move(path);
    emit selectedIPSWChanged();
}

QList<WatchFirmware> StudioModel::filteredFirmware() const
{
    return m_firmware;
}

void StudioModel::start() {}

QCoro::Task<> StudioModel::refreshCatalog()
{
    co_return;
}

void StudioModel::select(const WatchFirmware &firmware)
{
    setSelectedFirmware(firmware);
}

void StudioModel::syncConnectedDevice(const std::optional<ConnectedWatch> &) {}

void StudioModel::requestDownloadSelected() {}

void StudioModel::downloadSelected() {}

void StudioModel::chooseManualIPSW() {}

void StudioModel::setManualIPSWChooser(ManualIPSWChooser chooser)
{
    m_chooser = std::move(chooser);
}
