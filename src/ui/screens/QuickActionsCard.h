#pragma once

#include <QWidget>

class ActionRow;
class StudioModel;

// The overview's three shortcuts: the catalogue, a local image, the restore screen.
class QuickActionsCard final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QuickActionsCard)

public:
    explicit QuickActionsCard(StudioModel *model, QWidget *parent = nullptr);
    ~QuickActionsCard() override;

private:
    void refresh();

    StudioModel *m_model;
    ActionRow *m_catalogRow;
};
