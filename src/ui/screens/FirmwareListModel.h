#pragma once

#include "app/records/WatchFirmware.h"

#include <QAbstractListModel>
#include <QList>
#include <QString>
#include <QStringList>

class DownloadedImageIndex;
class StudioModel;

// The catalogue's rows: the model's firmware list filtered by its search text, one row per
// product type. A row's derived state (selected, downloaded, status) is computed from what is
// already in memory, so painting never touches the disk; a longer search text narrows the
// rows already shown instead of scanning the whole list again.
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

    const WatchFirmware &firmwareAt(int row) const { return m_firmware.at(m_rows.at(row)); }
    bool isSelected(int row) const;
    bool isDownloaded(int row) const;
    QString accessibleText(int row) const;
    // Reads the cache folder again, for when its contents may have changed unseen.
    void refreshDownloaded();

private:
    void reloadRows();
    void refreshRowState();

    StudioModel *m_model;
    DownloadedImageIndex *m_downloaded;
    // The model's full list as last filtered, its searched fields folded, the query it was
    // filtered by, and the positions in it of the rows shown.
    QList<WatchFirmware> m_firmware;
    QStringList m_foldedFields;
    QString m_query;
    QList<qsizetype> m_rows;
};
