#pragma once

#include <QWidget>

class StudioModel;
class RestoreManager;

// The process log with its copy action and status line.
class LogView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LogView)

public:
    LogView(StudioModel *model, RestoreManager *restoreManager, QWidget *parent = nullptr);
    ~LogView() override;
};
