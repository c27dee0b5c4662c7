#pragma once

#include <QWidget>

class LogStatusLine;
class LogTextView;
class QTimer;
class RestoreManager;
class StudioButton;
class StudioModel;

// The process log with its copy action and status line.
//
// The log only ever grows and can reach hundreds of thousands of lines, so the view takes in
// only the part it has not shown yet, and bursts of appends are gathered into one update per
// frame.
class LogView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LogView)

public:
    LogView(StudioModel *model, RestoreManager *restoreManager, QWidget *parent = nullptr);
    ~LogView() override;

    // Puts exactly the log on the clipboard, replacing whatever was there; the button says so
    // for a moment.
    void copyLog();
    // How long the button says "Скопировано".
    static constexpr int copiedMilliseconds = 1500;

private:
    void scheduleLogUpdate();
    void showNewLogText();

    RestoreManager *m_restore;
    StudioButton *m_copy;
    LogTextView *m_log;
    LogStatusLine *m_status;
    QTimer *m_logUpdate;
    QTimer *m_copiedShown;
};
