#pragma once

#include <QWidget>

class StudioModel;

// The firmware catalogue with search, rows and the selected firmware's card.
class CatalogView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CatalogView)

public:
    CatalogView(StudioModel *model, QWidget *parent = nullptr);
    ~CatalogView() override;
};
