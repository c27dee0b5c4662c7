#pragma once

#include "app/records/ConnectedWatch.h"
#include "app/records/NavigationSection.h"
#include "app/records/WatchFirmware.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <optional>

class CatalogService;
class DeviceMonitor;
class DownloadManager;
class RestoreManager;

// What the user did in the file chooser: cancelled, or confirmed (with the file, if any).
struct ManualIPSWChoice {
    bool confirmed = false;
    std::optional<QString> path;
};
// Asks the user for a local restore image. The shell installs a modal file dialog; tests
// install a function that answers at once.
using ManualIPSWChooser = std::function<ManualIPSWChoice()>;

// The single application state: navigation, the firmware list and selection, the chosen
// image, and the user actions that span several services. Owns one of each service. Every
// assignment of a published value emits its signal, even when unchanged.
class StudioModel final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StudioModel)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(bool isLoadingCatalog READ isLoadingCatalog NOTIFY isLoadingCatalogChanged)
    Q_PROPERTY(bool showRestoreConfirmation READ showRestoreConfirmation WRITE setShowRestoreConfirmation
                   NOTIFY showRestoreConfirmationChanged)
    Q_PROPERTY(bool showUnsignedWarning READ showUnsignedWarning WRITE setShowUnsignedWarning NOTIFY
                   showUnsignedWarningChanged)

public:
    explicit StudioModel(QObject *parent = nullptr);
    // For tests: another catalogue address and download allow-list.
    StudioModel(const QUrl &catalogURL, const QStringList &allowedHosts, QObject *parent = nullptr);
    ~StudioModel() override;

    const std::optional<NavigationSection> &navigation() const { return m_navigation; }
    void setNavigation(std::optional<NavigationSection> section);
    const QList<WatchFirmware> &firmware() const { return m_firmware; }
    const std::optional<WatchFirmware> &selectedFirmware() const { return m_selectedFirmware; }
    const QString &searchText() const { return m_searchText; }
    void setSearchText(const QString &text);
    bool isLoadingCatalog() const { return m_isLoadingCatalog; }
    const std::optional<QString> &catalogError() const { return m_catalogError; }
    // A local file path.
    const std::optional<QString> &selectedIPSW() const { return m_selectedIPSW; }
    bool showRestoreConfirmation() const { return m_showRestoreConfirmation; }
    void setShowRestoreConfirmation(bool shown);
    bool showUnsignedWarning() const { return m_showUnsignedWarning; }
    void setShowUnsignedWarning(bool shown);

    DeviceMonitor *deviceMonitor() const { return m_deviceMonitor; }
    DownloadManager *downloader() const { return m_downloader; }
    RestoreManager *restoreManager() const { return m_restoreManager; }

    // The part of the list that matches the search text, computed on every call.
    QList<WatchFirmware> filteredFirmware() const;

    void start();
    QCoro::Task<> refreshCatalog();
    void select(const WatchFirmware &firmware);
    void syncConnectedDevice(const std::optional<ConnectedWatch> &watch);
    void requestDownloadSelected();
    void downloadSelected();
    void chooseManualIPSW();
    // What chooseManualIPSW does with the chooser's answer; a file opened another way (given
    // on the command line, dropped on the window) is taken through here too.
    void takeManualIPSW(const ManualIPSWChoice &choice);
    void setManualIPSWChooser(ManualIPSWChooser chooser);

signals:
    void navigationChanged();
    void firmwareChanged();
    void selectedFirmwareChanged();
    void searchTextChanged();
    void isLoadingCatalogChanged();
    void catalogErrorChanged();
    void selectedIPSWChanged();
    void showRestoreConfirmationChanged();
    void showUnsignedWarningChanged();

private:
    void setFirmware(QList<WatchFirmware> firmware);
    void setSelectedFirmware(std::optional<WatchFirmware> firmware);
    void setIsLoadingCatalog(bool loading);
    void setCatalogError(std::optional<QString> error);
    void setSelectedIPSW(std::optional<QString> path);
    std::optional<WatchFirmware> firmwareOfConnectedWatch(const QList<WatchFirmware> &list) const;
    static WatchFirmware defaultSelection(const QList<WatchFirmware> &list);

    std::optional<NavigationSection> m_navigation = NavigationSection::overview;
    QList<WatchFirmware> m_firmware;
    std::optional<WatchFirmware> m_selectedFirmware;
    QString m_searchText;
    bool m_isLoadingCatalog = false;
    std::optional<QString> m_catalogError;
    std::optional<QString> m_selectedIPSW;
    bool m_showRestoreConfirmation = false;
    bool m_showUnsignedWarning = false;

    DeviceMonitor *m_deviceMonitor;
    DownloadManager *m_downloader;
    RestoreManager *m_restoreManager;
    CatalogService *m_catalogService;
    ManualIPSWChooser m_chooser;
};
