#include "ui/screens/FirmwareListModel.h"

#include "app/StudioModel.h"
#include "download/DownloadManager.h"
#include "ui/screens/FirmwareRow.h"
#include "ui/screens/FirmwareText.h"

FirmwareListModel::FirmwareListModel(StudioModel *model, QObject *parent)
    : QAbstractListModel(parent), m_model(model), m_rows(model->filteredFirmware())
{
    connect(model, &StudioModel::firmwareChanged, this, &FirmwareListModel::reloadRows);
    connect(model, &StudioModel::searchTextChanged, this, &FirmwareListModel::reloadRows);
    connect(model, &StudioModel::selectedFirmwareChanged, this, &FirmwareListModel::refreshRowState);
    connect(model, &StudioModel::selectedIPSWChanged, this, &FirmwareListModel::refreshRowState);
    connect(model->downloader(), &DownloadManager::isDownloadingChanged, this,
            &FirmwareListModel::refreshRowState);
}

FirmwareListModel::~FirmwareListModel() = default;

int FirmwareListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant FirmwareListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const WatchFirmware &firmware = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole: return firmware.productType + u' ' + firmware.deviceName;
    case ProductTypeRole: return firmware.productType;
    case IsSelectedRole: return isSelected(index.row());
    case IsDownloadedRole: return isDownloaded(index.row());
    case StatusTextRole: return FirmwareRow::status(firmware, isDownloaded(index.row())).text;
    case Qt::AccessibleTextRole: return accessibleText(index.row());
    default: return {};
    }
}

// What a screen reader announces for a row: everything the row shows, and whether it is the
// chosen firmware.
QString FirmwareListModel::accessibleText(int row) const
{
    const WatchFirmware &firmware = m_rows.at(row);
    return QStringLiteral("%1 %2, %3, %4")
        .arg(firmware.productType, firmware.deviceName, FirmwareText::rowDetail(firmware),
             FirmwareRow::status(firmware, isDownloaded(row)).text)
        .append(isSelected(row) ? QStringLiteral(", выбрана") : QStringLiteral(", не выбрана"));
}

bool FirmwareListModel::isSelected(int row) const
{
    const auto &selected = m_model->selectedFirmware();
    return selected && selected->productType == m_rows.at(row).productType;
}

bool FirmwareListModel::isDownloaded(int row) const
{
    return m_model->downloader()->existingFile(m_rows.at(row)).has_value();
}

void FirmwareListModel::reloadRows()
{
    QList<WatchFirmware> rows = m_model->filteredFirmware();
    // The model republishes on every assignment; an unchanged list keeps the scroll position.
    if (rows == m_rows) {
        refreshRowState();
        return;
    }
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
}

void FirmwareListModel::refreshRowState()
{
    if (!m_rows.isEmpty())
        emit dataChanged(index(0), index(int(m_rows.size()) - 1));
}
