#pragma once

#include <QWidget>

class BusySpinner;
class DeviceMonitor;
class QLabel;
class SymbolTile;

// The overview's device card: whether a watch is attached, what it is, and a check-now button.
class OverviewDeviceCard final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OverviewDeviceCard)

public:
    explicit OverviewDeviceCard(DeviceMonitor *monitor, QWidget *parent = nullptr);
    ~OverviewDeviceCard() override;

private:
    void refresh();

    DeviceMonitor *m_monitor;
    BusySpinner *m_spinner;
    bool m_spinnerFollowPending = false;
    SymbolTile *m_tile;
    QLabel *m_title;
    QLabel *m_detail;
};
