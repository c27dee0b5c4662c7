#pragma once

#include "app/WatchFirmware.h"

#include <QAbstractListModel>
#include <QList>

class StudioModel;

// The catalogue's rows: the model's filtered firmware list, one row per product type. The
// row's derived state (selected, downloaded, status) is computed when a row asks for it, so
// only rows on screen query the cache folder.
class FirmwareListModel final : public QAbstractListModel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FirmwareListModel)

public:
    enum Role {
        ProductTypeRole = Qt::UserRole + 1,
        IsSelectedRole,
        IsDownloadedRole,
        StatusTextRole,
    };

    explicit FirmwareListModel(StudioModel *model, QObject *parent = nullptr);
    ~FirmwareListModel() override;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    const WatchFirmware &firmwareAt(int row) const { return m_rows.at(row); }
    bool isSelected(int row) const;
    bool isDownloaded(int row) const;
    QString accessibleText(int row) const;

private:
    void reloadRows();
    void refreshRowState();

    StudioModel *m_model;
    QList<WatchFirmware> m_rows;
};
