#pragma once

#include <QDialog>

class StudioModel;
class DeviceMonitor;
class RestoreManager;

// The typed-word confirmation shown before a restore erases the watch.
class RestoreConfirmationSheet final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RestoreConfirmationSheet)

public:
    RestoreConfirmationSheet(StudioModel *model, DeviceMonitor *monitor, RestoreManager *restoreManager,
                             QWidget *parent = nullptr);
    ~RestoreConfirmationSheet() override;
};
