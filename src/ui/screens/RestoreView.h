#pragma once

#include <QWidget>

class StudioModel;
class DeviceMonitor;
class RestoreManager;

// The restore screen: image, device, checks and the start and cancel actions.
class RestoreView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RestoreView)

public:
    RestoreView(StudioModel *model, DeviceMonitor *monitor, RestoreManager *restoreManager,
                QWidget *parent = nullptr);
    ~RestoreView() override;
};
