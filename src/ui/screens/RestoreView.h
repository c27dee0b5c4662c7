#pragma once

#include <QWidget>

class CheckLine;
class DeviceMonitor;
class ErrorBanner;
class RestoreManager;
class StudioButton;
class StudioModel;

// The restore screen: image, device, checks and the start and cancel actions.
class RestoreView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RestoreView)

public:
    RestoreView(StudioModel *model, DeviceMonitor *monitor, RestoreManager *restoreManager,
                QWidget *parent = nullptr);
    ~RestoreView() override;

private:
    void refresh();

    StudioModel *m_model;
    DeviceMonitor *m_monitor;
    RestoreManager *m_restore;
    CheckLine *m_firstCheck;
    ErrorBanner *m_error;
    StudioButton *m_start;
    StudioButton *m_stop;
};
