#pragma once

#include <QWidget>

class DeviceMonitor;
class QLabel;
class SymbolLabel;

// The watch that will receive the image, and a check-again button.
class RestoreDeviceCard final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RestoreDeviceCard)

public:
    explicit RestoreDeviceCard(DeviceMonitor *monitor, QWidget *parent = nullptr);
    ~RestoreDeviceCard() override;

private:
    void refresh();

    DeviceMonitor *m_monitor;
    QLabel *m_name;
    QLabel *m_detail;
    SymbolLabel *m_state;
};
