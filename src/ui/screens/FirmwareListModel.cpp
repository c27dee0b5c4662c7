#include "ui/screens/FirmwareListModel.h"

#include "app/model/FirmwareSearch.h"
#include "app/model/StudioModel.h"
#include "download/DownloadManager.h"
#include "ui/screens/DownloadedImageIndex.h"
#include "ui/screens/FirmwareRow.h"
#include "ui/screens/FirmwareText.h"

namespace {

// Positions in `firmware` of the records matching `query`, looking only at `candidates` when
// given (a narrower query matches a subset of what a wider one did).
QList<qsizetype> matching(const QList<WatchFirmware> &firmware, const QStringList &foldedFields,
                          const QString &query, const QList<qsizetype> *candidates)
{
    const std::optional<QString> folded = FirmwareSearch::foldedQuery(query);
    const auto matches = [&](qsizetype position) {
        return folded ? FirmwareSearch::matchesFolded(foldedFields.at(position), *folded)
                      : FirmwareSearch::matches(firmware.at(position), query);
    };
    QList<qsizetype> rows;
    if (candidates) {
        for (const qsizetype position : *candidates) {
            if (matches(position))
                rows.append(position);
        }
        return rows;
    }
    rows.reserve(firmware.size());
    for (qsizetype position = 0; position < firmware.size(); ++position) {
        if (matches(position))
            rows.append(position);
    }
    return rows;
}

QStringList foldedFieldsOf(const QList<WatchFirmware> &firmware)
{
    QStringList fields;
    fields.reserve(firmware.size());
    for (const WatchFirmware &record : firmware)
        fields.append(FirmwareSearch::foldedFields(record));
    return fields;
}

} // namespace

FirmwareListModel::FirmwareListModel(StudioModel *model, QObject *parent)
    : QAbstractListModel(parent), m_model(model), m_downloaded(new DownloadedImageIndex(model, this)),
      m_firmware(model->firmware()), m_foldedFields(foldedFieldsOf(m_firmware)),
      m_query(FirmwareSearch::query(model->searchText())),
      m_rows(matching(m_firmware, m_foldedFields, m_query, nullptr))
{
    connect(model, &StudioModel::firmwareChanged, this, &FirmwareListModel::reloadRows);
    connect(model, &StudioModel::searchTextChanged, this, &FirmwareListModel::reloadRows);
    connect(model, &StudioModel::selectedFirmwareChanged, this, &FirmwareListModel::refreshRowState);
    connect(model, &StudioModel::selectedIPSWChanged, this, &FirmwareListModel::refreshRowState);
    connect(model->downloader(), &DownloadManager::isDownloadingChanged, this,
            &FirmwareListModel::refreshRowState);
    connect(m_downloaded, &DownloadedImageIndex::changed, this, &FirmwareListModel::refreshRowState);
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
    const WatchFirmware &firmware = firmwareAt(index.row());
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
    const WatchFirmware &firmware = firmwareAt(row);
    return QStringLiteral("%1 %2, %3, %4")
        .arg(firmware.productType, firmware.deviceName, FirmwareText::rowDetail(firmware),
             FirmwareRow::status(firmware, isDownloaded(row)).text)
        .append(isSelected(row) ? QStringLiteral(", выбрана") : QStringLiteral(", не выбрана"));
}

bool FirmwareListModel::isSelected(int row) const
{
    const auto &selected = m_model->selectedFirmware();
    return selected && selected->productType == firmwareAt(row).productType;
}

bool FirmwareListModel::isDownloaded(int row) const
{
    return m_downloaded->contains(firmwareAt(row));
}

void FirmwareListModel::refreshDownloaded()
{
    m_downloaded->refresh();
}

void FirmwareListModel::reloadRows()
{
    const QString query = FirmwareSearch::query(m_model->searchText());
    const bool sameList = m_model->firmware() == m_firmware;
    // The model republishes on every assignment; unchanged rows keep the scroll position.
    if (sameList && query == m_query) {
        refreshRowState();
        return;
    }
    if (!sameList) {
        m_firmware = m_model->firmware();
        m_foldedFields = foldedFieldsOf(m_firmware);
    }
    const bool narrower = sameList && !m_query.isEmpty() && query.contains(m_query, Qt::CaseInsensitive);
    QList<qsizetype> rows = matching(m_firmware, m_foldedFields, query, narrower ? &m_rows : nullptr);
    m_query = query;
    if (sameList && rows == m_rows) {
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
