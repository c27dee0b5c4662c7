#include "ui/screens/FirmwareRow.h"

#include "ui/FocusRing.h"
#include "ui/Icons.h"
#include "ui/StatusLabel.h"
#include "ui/Theme.h"
#include "ui/screens/FirmwareListModel.h"
#include "ui/screens/FirmwareText.h"

#include <QLayout>
#include <QPaintEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>

#include <cmath>
#include <functional>

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

// The pixel ratio of what the painter finally draws into (an image while a widget is rendered).
qreal targetPixelRatio(const QPainter *painter)
{
    const QPaintDevice *target =
        painter->paintEngine() ? painter->paintEngine()->paintDevice() : painter->device();
    return target ? target->devicePixelRatioF() : 1.0;
}

// A part every row draws alike (its frame, its tile, a status label), rasterised once per size
// and pixel ratio and then only copied: antialiased shapes are what scrolling would otherwise
// spend its time on.
QPixmap cachedPicture(const QString &key, QSize logical, qreal dpr,
                      const std::function<void(QPainter *)> &draw)
{
    const QString fullKey = QStringLiteral("corvalin-row/%1/%2x%3@%4")
                                .arg(key)
                                .arg(logical.width())
                                .arg(logical.height())
                                .arg(dpr);
    QPixmap picture;
    if (QPixmapCache::find(fullKey, &picture))
        return picture;
    picture = QPixmap(QSize(int(std::ceil(logical.width() * dpr)), int(std::ceil(logical.height() * dpr))));
    picture.setDevicePixelRatio(dpr);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(&painter);
    painter.end();
    QPixmapCache::insert(fullKey, picture);
    return picture;
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
    : QStyledItemDelegate(parent), m_rows(rows), m_statusLabel(new StatusLabel({}, {}, {})),
      m_typeFont(Theme::font(14, QFont::Bold, Theme::FontDesign::monospaced)),
      m_nameFont(Theme::font(13, QFont::Medium)), m_detailFont(Theme::font(11))
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

    const qreal dpr = targetPixelRatio(painter);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);

    const QRect frameArea = option.rect.adjusted(0, 0, 0, -rowGap);
    const QRectF frame = QRectF(QPointF(0, 0), QSizeF(frameArea.size())).adjusted(0.5, 0.5, -0.5, -0.5);
    painter->drawPixmap(
        frameArea.topLeft(),
        cachedPicture(
            selected ? QStringLiteral("frame-selected") : QStringLiteral("frame"), frameArea.size(), dpr,
            [&](QPainter *picture) {
                const QPainterPath shape = roundedRect(frame, rowRadius);
                picture->fillPath(shape, selected ? Theme::withOpacity(accent, selectedFillOpacity)
                                                  : Theme::withOpacity(Theme::white(), idleFillOpacity));
                picture->setPen(QPen(selected ? Theme::withOpacity(accent, selectedOutlineOpacity)
                                              : Theme::withOpacity(Theme::white(), idleOutlineOpacity),
                                     Theme::Metrics::outlineWidth));
                picture->drawPath(shape);
            }));
    // The keyboard's current row, while the list has keyboard focus: white and dashed, so it
    // cannot be taken for the selection's violet outline when both fall on the same row.
    if ((option.state & QStyle::State_HasFocus) && option.widget && FocusRing::isVisible(option.widget)) {
        QPen ring(Theme::withOpacity(Theme::white(), focusRingOpacity), 2);
        ring.setDashPattern({3, 2});
        painter->setPen(ring);
        painter->drawPath(
            roundedRect(frame.translated(frameArea.topLeft()).adjusted(2, 2, -2, -2), rowRadius - 2));
    }

    const QRect content = option.rect.adjusted(rowPadding, rowPadding, -rowPadding, -rowPadding - rowGap);

    // Device tile.
    const QRectF tile(content.left(), content.center().y() - tileSize / 2.0 + 0.5, tileSize, tileSize);
    painter->drawPixmap(tile.topLeft(),
                        cachedPicture(selected ? QStringLiteral("tile-selected") : QStringLiteral("tile"),
                                      QSize(tileSize, tileSize), dpr, [&](QPainter *picture) {
                                          picture->fillPath(
                                              roundedRect(QRectF(0, 0, tileSize, tileSize), tileRadius),
                                              selected ? Theme::withOpacity(accent, selectedTileOpacity)
                                                       : Theme::withOpacity(Theme::white(), idleTileOpacity));
                                          const int glyph = Theme::Metrics::symbolBox(tileSymbolSize);
                                          const qreal inset = (tileSize - glyph) / 2.0;
                                          Icons::paint(picture, QRectF(inset, inset, glyph, glyph),
                                                       QStringLiteral("applewatch"),
                                                       selected ? accent : Theme::textSecondary());
                                      }));

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
    const QPixmap statusPicture = this->statusPicture(rowStatus, dpr);
    const QSizeF statusSize = statusPicture.deviceIndependentSize();
    painter->drawPixmap(QPointF(statusArea.right() + 1 - statusSize.width(),
                                statusArea.center().y() - int(statusSize.height()) / 2),
                        statusPicture);

    // Description: product type and name, then the version line.
    const QFont &typeFont = m_typeFont;
    const QFont &nameFont = m_nameFont;
    const QFont &detailFont = m_detailFont;
    const QFontMetrics typeMetrics(typeFont);
    const QFontMetrics detailMetrics(detailFont);
    const int textLeft = int(tile.right()) + rowSpacing;
    const int textHeight = typeMetrics.height() + lineSpacing + detailMetrics.height();
    const int top = content.center().y() - textHeight / 2 + 1;
    const int textRight = statusArea.right() - int(statusSize.width()) - rowSpacing;

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

// The kit's status label, laid out off screen and rendered once per status.
QPixmap FirmwareRowDelegate::statusPicture(const FirmwareRowStatus &status, qreal dpr) const
{
    const QString key = QStringLiteral("corvalin-row/status/%1/%2@%3")
                            .arg(status.text)
                            .arg(status.color.rgba(), 8, 16)
                            .arg(dpr);
    QPixmap picture;
    if (QPixmapCache::find(key, &picture))
        return picture;
    m_statusLabel->setSymbol(status.symbol);
    m_statusLabel->setText(status.text);
    m_statusLabel->setColor(status.color);
    if (QLayout *layout = m_statusLabel->layout())
        layout->activate();
    m_statusLabel->resize(m_statusLabel->sizeHint());
    picture = cachedPicture(key, m_statusLabel->size(), dpr, [this](QPainter *painter) {
        m_statusLabel->render(painter, QPoint(), QRegion(), QWidget::DrawChildren);
    });
    QPixmapCache::insert(key, picture);
    return picture;
}
