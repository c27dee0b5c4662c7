#pragma once

#include <QWidget>

class ClampedLabel;
class DeviceMonitor;
class QLabel;
class StudioModel;

// What the restore will write: the chosen image, Apple Configurator's own download for a KIS
// watch, or nothing chosen yet.
class RestoreFirmwareCard final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RestoreFirmwareCard)

public:
    RestoreFirmwareCard(StudioModel *model, DeviceMonitor *monitor, QWidget *parent = nullptr);
    ~RestoreFirmwareCard() override;

private:
    void refresh();

    StudioModel *m_model;
    DeviceMonitor *m_monitor;
    QWidget *m_image;
    ClampedLabel *m_fileName;
    ClampedLabel *m_folder;
    QWidget *m_configurator;
    QLabel *m_noFile;
};
