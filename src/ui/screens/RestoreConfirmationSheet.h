#pragma once

#include <QDialog>

class DeviceMonitor;
class QLineEdit;
class RestoreManager;
class StudioButton;
class StudioModel;

// The typed-word confirmation shown before a restore erases the watch. Only the exact word
// enables the start; starting dismisses the sheet, shows the log and hands the restore to
// the restore manager.
class RestoreConfirmationSheet final : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RestoreConfirmationSheet)

public:
    RestoreConfirmationSheet(StudioModel *model, DeviceMonitor *monitor, RestoreManager *restoreManager,
                             QWidget *parent = nullptr);
    ~RestoreConfirmationSheet() override;

    static QString confirmationWord();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void beginRestore();

    StudioModel *m_model;
    DeviceMonitor *m_monitor;
    RestoreManager *m_restore;
    QLineEdit *m_phrase;
    StudioButton *m_begin;
};
