#pragma once

#include <QWidget>

class FirmwareListModel;
class QListView;
class StudioButton;
class StudioModel;

// The firmware catalogue: search, refresh and one row per model to select.
class CatalogView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CatalogView)

public:
    CatalogView(StudioModel *model, QWidget *parent = nullptr);
    ~CatalogView() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void refresh();
    // The selected firmware's row, else the first; invalid for an empty list.
    QModelIndex selectedOrFirstRow() const;

    StudioModel *m_model;
    StudioButton *m_refresh;
    QWidget *m_loading;
    FirmwareListModel *m_rows;
    QListView *m_list;
};
