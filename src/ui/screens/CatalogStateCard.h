#pragma once

#include <QWidget>

class QLabel;
class StudioModel;

// Stands in for the selected-firmware card while nothing is selected: a spinner and what the
// catalogue is doing.
class CatalogStateCard final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CatalogStateCard)

public:
    explicit CatalogStateCard(StudioModel *model, QWidget *parent = nullptr);
    ~CatalogStateCard() override;

private:
    void refresh();

    StudioModel *m_model;
    QLabel *m_text;
};
