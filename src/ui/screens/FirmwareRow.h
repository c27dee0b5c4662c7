#pragma once

#include "app/records/WatchFirmware.h"

#include <QColor>
#include <QFont>
#include <QStyledItemDelegate>

class FirmwareListModel;
class StatusLabel;

// One firmware's state as its row shows it.
struct FirmwareRowStatus {
    QString text;
    QString symbol;
    QColor color;
};

namespace FirmwareRow {

// "Загружено" wins over "Подпись", which wins over "Не подписана".
FirmwareRowStatus status(const WatchFirmware &firmware, bool isDownloaded);

} // namespace FirmwareRow

// Paints one catalogue row (tile, texts, status label, selection mark) straight from the
// list model, from state already in memory.
class FirmwareRowDelegate final : public QStyledItemDelegate {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FirmwareRowDelegate)

public:
    explicit FirmwareRowDelegate(FirmwareListModel *rows, QObject *parent = nullptr);
    ~FirmwareRowDelegate() override;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    QPixmap statusPicture(const FirmwareRowStatus &status, qreal dpr) const;

    FirmwareListModel *m_rows;
    // The kit's status label, laid out off screen and rendered into each row.
    StatusLabel *m_statusLabel;
    QFont m_typeFont;
    QFont m_nameFont;
    QFont m_detailFont;
};
