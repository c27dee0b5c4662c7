#include "app/model/StudioModel.h"

#include "app/model/FirmwareSearch.h"
#include "catalog/CatalogService.h"
#include "device/DeviceMonitor.h"
#include "download/DownloadManager.h"
#include "restore/RestoreManager.h"

#include <QCoreApplication>
#include <QPointer>

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
    const QString query = FirmwareSearch::query(m_searchText);
    if (query.isEmpty())
        return m_firmware;
    QList<WatchFirmware> matches;
    for (const WatchFirmware &record : m_firmware) {
        if (FirmwareSearch::matches(record, query))
            matches.append(record);
    }
    return matches;
}

void StudioModel::start()
{
    m_deviceMonitor->start();
    // Runs on by itself; the task frees itself when the refresh is done.
    refreshCatalog();
}

QCoro::Task<> StudioModel::refreshCatalog()
{
    setIsLoadingCatalog(true);
    setCatalogError(std::nullopt);

    const QPointer<StudioModel> self(this);
    const Result<QList<WatchFirmware>> result = co_await m_catalogService->load();
    if (!self)
        co_return;

    if (result.ok()) {
        const QList<WatchFirmware> &list = result.value();
        setFirmware(list);
        m_downloader->keepPartialDownloadsOf(list);
        if (auto match = firmwareOfConnectedWatch(list))
            setSelectedFirmware(*match);
        else if (!m_selectedFirmware && !list.isEmpty())
            setSelectedFirmware(defaultSelection(list));
        if (m_selectedFirmware) {
            if (auto cached = m_downloader->existingFile(*m_selectedFirmware))
                setSelectedIPSW(*cached);
        }
        m_restoreManager->appendLog(QStringLiteral("Каталог обновлён: %1 моделей.").arg(list.size()));
    } else {
        const QString description = result.failure().description();
        setCatalogError(description);
        m_restoreManager->appendLog(QStringLiteral("Ошибка каталога: ") + description);
    }
    setIsLoadingCatalog(false);
}

std::optional<WatchFirmware> StudioModel::firmwareOfConnectedWatch(const QList<WatchFirmware> &list) const
{
    const std::optional<ConnectedWatch> &watch = m_deviceMonitor->connectedWatch();
    if (!watch)
        return std::nullopt;
    for (const WatchFirmware &record : list) {
        if (record.productType == watch->productType)
            return record;
    }
    return std::nullopt;
}

WatchFirmware StudioModel::defaultSelection(const QList<WatchFirmware> &list)
{
    // The Series 3 is the model most often brought in bricked, so it is the default.
    for (const WatchFirmware &record : list) {
        if (record.productType == QStringLiteral("Watch3,1"))
            return record;
    }
    return list.first();
}

void StudioModel::select(const WatchFirmware &firmware)
{
    setSelectedFirmware(firmware);
    setSelectedIPSW(m_downloader->existingFile(firmware));
}

void StudioModel::syncConnectedDevice(const std::optional<ConnectedWatch> &watch)
{
    if (!watch)
        return;
    for (const WatchFirmware &record : m_firmware) {
        if (record.productType == watch->productType) {
            select(record);
            return;
        }
    }
}

void StudioModel::requestDownloadSelected()
{
    if (!m_selectedFirmware)
        return;
    if (m_selectedFirmware->isCatalogSigned)
        downloadSelected();
    else
        setShowUnsignedWarning(true);
}

void StudioModel::downloadSelected()
{
    if (!m_selectedFirmware)
        return;
    const QPointer<StudioModel> self(this);
    m_downloader->start(*m_selectedFirmware, [self](const Result<QString> &result) {
        // A deliberate hop: the result is taken over in a job of its own on the GUI thread,
        // after whatever delivered it has returned, by which time the model may be gone.
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, result] {
                if (result.ok()) {
                    if (self)
                        self->setSelectedIPSW(result.value());
                    if (self)
                        self->m_restoreManager->appendLog(QStringLiteral("Прошивка готова: ") +
                                                          result.value());
                } else if (self) {
                    self->m_restoreManager->appendLog(QStringLiteral("Ошибка загрузки: ") +
                                                      result.failure().description());
                }
            },
            Qt::QueuedConnection);
    });
}

void StudioModel::chooseManualIPSW()
{
    takeManualIPSW(m_chooser ? m_chooser() : ManualIPSWChoice{});
}

void StudioModel::takeManualIPSW(const ManualIPSWChoice &choice)
{
    if (!choice.confirmed)
        return;
    setSelectedIPSW(choice.path);
    m_restoreManager->appendLog(QStringLiteral("Выбран локальный файл: ") + choice.path.value_or(QString()));
}

void StudioModel::setManualIPSWChooser(ManualIPSWChooser chooser)
{
    m_chooser = std::move(chooser);
}
