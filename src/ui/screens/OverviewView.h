#pragma once

#include <QWidget>

class StudioModel;
class DeviceMonitor;
class DownloadManager;

// The home screen: connection, device, quick actions, firmware and download.
class OverviewView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OverviewView)

public:
    OverviewView(StudioModel *model, DeviceMonitor *monitor, DownloadManager *downloader,
                 QWidget *parent = nullptr);
    ~OverviewView() override;
};
