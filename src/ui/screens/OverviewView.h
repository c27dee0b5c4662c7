#pragma once

#include <QWidget>

class CatalogStateCard;
class ConnectionBadge;
class DeviceMonitor;
class DownloadCard;
class DownloadManager;
class ErrorBanner;
class SelectedFirmwareCard;
class StudioModel;

// The home screen: connection, device, quick actions, firmware and download.
class OverviewView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OverviewView)

public:
    OverviewView(StudioModel *model, DeviceMonitor *monitor, DownloadManager *downloader,
                 QWidget *parent = nullptr);
    ~OverviewView() override;

private:
    void refresh();

    StudioModel *m_model;
    DeviceMonitor *m_monitor;
    DownloadManager *m_downloader;
    ConnectionBadge *m_badge;
    SelectedFirmwareCard *m_selectedFirmware;
    CatalogStateCard *m_catalogState;
    DownloadCard *m_download;
    ErrorBanner *m_catalogError;
};
