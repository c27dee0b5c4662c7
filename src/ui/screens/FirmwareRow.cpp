#include "ui/screens/FirmwareRow.h"

#include "ui/FocusRing.h"
#include "ui/Icons.h"
#include "ui/StatusLabel.h"
#include "ui/Theme.h"
#include "ui/screens/FirmwareListModel.h"
#include "ui/screens/FirmwareText.h"

#include <QLayout>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int rowPadding = 14;
constexpr int rowSpacing = 15;
constexpr int rowGap = 10;
constexpr qreal rowRadius = 15;
constexpr int tileSize = 46;
constexpr qreal tileRadius = 12;
constexpr int tileSymbolSize = 19;
constexpr int markSize = 18;
constexpr int titleSpacing = 8;
constexpr int lineSpacing = 4;

constexpr qreal selectedTileOpacity = Theme::Opacity::firmwareTileSelected;
constexpr qreal idleTileOpacity = Theme::Opacity::firmwareTile;
constexpr qreal selectedFillOpacity = Theme::Opacity::firmwareRowFillSelected;
constexpr qreal idleFillOpacity = Theme::Opacity::firmwareRowFill;
constexpr qreal selectedOutlineOpacity = Theme::Opacity::firmwareRowOutlineSelected;
constexpr qreal idleOutlineOpacity = Theme::Opacity::firmwareRowOutline;
constexpr qreal idleMarkOpacity = Theme::Opacity::firmwareRowMark;
constexpr qreal focusRingOpacity = Theme::Opacity::firmwareRowFocusRing;

QPainterPath roundedRect(const QRectF &rect, qreal radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

} // namespace

FirmwareRowStatus FirmwareRow::status(const WatchFirmware &firmware, bool isDownloaded)
{
    if (isDownloaded)
        return {QStringLiteral("Загружено"), QStringLiteral("checkmark.circle.fill"), Theme::green()};
    if (firmware.isCatalogSigned)
        return {QStringLiteral("Подпись"), QStringLiteral("checkmark.seal.fill"), Theme::studioAccent()};
    return {QStringLiteral("Не подписана"), QStringLiteral("exclamationmark.triangle.fill"), Theme::orange()};
}

FirmwareRowDelegate::FirmwareRowDelegate(FirmwareListModel *rows, QObject *parent)
    : QStyledItemDelegate(parent), m_rows(rows), m_statusLabel(new StatusLabel({}, {}, {}))
{
    m_statusLabel->setAttribute(Qt::WA_DontShowOnScreen);
}

FirmwareRowDelegate::~FirmwareRowDelegate()
{
    delete m_statusLabel;
}

QSize FirmwareRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    return {option.rect.width(), rowPadding * 2 + tileSize + rowGap};
}

void FirmwareRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                const QModelIndex &index) const
{
    const int row = index.row();
    const WatchFirmware &firmware = m_rows->firmwareAt(row);
    const bool selected = m_rows->isSelected(row);
    const FirmwareRowStatus rowStatus = FirmwareRow::status(firmware, m_rows->isDownloaded(row));
    const QColor accent = Theme::studioAccent();

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);

    const QRectF frame = QRectF(option.rect.adjusted(0, 0, 0, -rowGap)).adjusted(0.5, 0.5, -0.5, -0.5);
    const QPainterPath shape = roundedRect(frame, rowRadius);
    painter->fillPath(shape, selected ? Theme::withOpacity(accent, selectedFillOpacity)
                                      : Theme::withOpacity(Theme::white(), idleFillOpacity));
    painter->setPen(QPen(selected ? Theme::withOpacity(accent, selectedOutlineOpacity)
                                  : Theme::withOpacity(Theme::white(), idleOutlineOpacity),
                         Theme::Metrics::outlineWidth));
    painter->drawPath(shape);
    // The keyboard's current row, while the list has keyboard focus: white and dashed, so it
    // cannot be taken for the selection's violet outline when both fall on the same row.
    if ((option.state & QStyle::State_HasFocus) && option.widget && FocusRing::isVisible(option.widget)) {
        QPen ring(Theme::withOpacity(Theme::white(), focusRingOpacity), 2);
        ring.setDashPattern({3, 2});
        painter->setPen(ring);
        painter->drawPath(roundedRect(frame.adjusted(2, 2, -2, -2), rowRadius - 2));
    }

    const QRect content = option.rect.adjusted(rowPadding, rowPadding, -rowPadding, -rowPadding - rowGap);

    // Device tile.
    const QRectF tile(content.left(), content.center().y() - tileSize / 2.0 + 0.5, tileSize, tileSize);
    painter->fillPath(roundedRect(tile, tileRadius),
                      selected ? Theme::withOpacity(accent, selectedTileOpacity)
                               : Theme::withOpacity(Theme::white(), idleTileOpacity));
    const int glyph = Theme::Metrics::symbolBox(tileSymbolSize);
    Icons::paint(painter,
                 QRectF(tile.center().x() - glyph / 2.0, tile.center().y() - glyph / 2.0, glyph, glyph),
                 QStringLiteral("applewatch"), selected ? accent : Theme::textSecondary());

    // Selection mark at the trailing edge, the status label before it.
    const QRectF mark(content.right() - markSize + 1, content.center().y() - markSize / 2.0 + 0.5, markSize,
                      markSize);
    if (selected)
        Icons::paint(painter, mark, QStringLiteral("checkmark.circle.fill"), accent);
    else
        Icons::paint(painter, mark, QStringLiteral("circle"),
                     Theme::withOpacity(Theme::textSecondary(), idleMarkOpacity));
    QRect statusArea = content;
    statusArea.setRight(int(mark.left()) - rowSpacing);
    paintStatus(painter, rowStatus, statusArea);

    // Description: product type and name, then the version line.
    const QFont typeFont = Theme::font(14, QFont::Bold, Theme::FontDesign::monospaced);
    const QFont nameFont = Theme::font(13, QFont::Medium);
    const QFont detailFont = Theme::font(11);
    const QFontMetrics typeMetrics(typeFont);
    const QFontMetrics detailMetrics(detailFont);
    const int textLeft = int(tile.right()) + rowSpacing;
    const int textHeight = typeMetrics.height() + lineSpacing + detailMetrics.height();
    const int top = content.center().y() - textHeight / 2 + 1;
    const int textRight = statusArea.right() - m_statusLabel->width() - rowSpacing;

    painter->setPen(Theme::textPrimary());
    painter->setFont(typeFont);
    const QRect typeRect(textLeft, top, typeMetrics.horizontalAdvance(firmware.productType),
                         typeMetrics.height());
    painter->drawText(typeRect, Qt::AlignLeft | Qt::AlignVCenter, firmware.productType);
    painter->setFont(nameFont);
    const QRect nameRect(typeRect.right() + titleSpacing, top, std::max(0, textRight - typeRect.right()),
                         typeMetrics.height());
    painter->drawText(
        nameRect, Qt::AlignLeft | Qt::AlignVCenter,
        QFontMetrics(nameFont).elidedText(firmware.deviceName, Qt::ElideRight, nameRect.width()));
    painter->setPen(Theme::textSecondary());
    painter->setFont(detailFont);
    const QRect detailRect(textLeft, top + typeMetrics.height() + lineSpacing,
                           std::max(0, textRight - textLeft), detailMetrics.height());
    painter->drawText(
        detailRect, Qt::AlignLeft | Qt::AlignVCenter,
        detailMetrics.elidedText(FirmwareText::rowDetail(firmware), Qt::ElideRight, detailRect.width()));
    painter->restore();
}

void FirmwareRowDelegate::paintStatus(QPainter *painter, const FirmwareRowStatus &status,
                                      const QRect &content) const
{
    m_statusLabel->setSymbol(status.symbol);
    m_statusLabel->setText(status.text);
    m_statusLabel->setColor(status.color);
    if (QLayout *layout = m_statusLabel->layout())
        layout->activate();
    m_statusLabel->resize(m_statusLabel->sizeHint());
    const QPoint origin(content.right() - m_statusLabel->width() + 1,
                        content.center().y() - m_statusLabel->height() / 2);
    painter->save();
    painter->translate(origin);
    m_statusLabel->render(painter, QPoint(), QRegion(), QWidget::DrawChildren);
    painter->restore();
}
