#pragma once

#include <QWidget>

class BusySpinner;
class QLabel;
class RestoreManager;
class SymbolLabel;

// Under the log: a running restore (which wins), or the last one's success, or nothing.
class LogStatusLine final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LogStatusLine)

public:
    explicit LogStatusLine(RestoreManager *restore, QWidget *parent = nullptr);
    ~LogStatusLine() override;

private:
    void refresh();

    RestoreManager *m_restore;
    QWidget *m_running;
    SymbolLabel *m_succeeded;
};
