#include "ui/ActionRow.h"

#include "ui/Icons.h"
#include "ui/Theme.h"

#include <QFontMetrics>
#include <QPainter>

namespace {

constexpr int spacing = 12;
constexpr int textSpacing = 2;
constexpr int iconSize = 16;
constexpr int chevronSize = 10;

QFont titleFont()
{
    return Theme::font(13, QFont::DemiBold);
}

QFont subtitleFont()
{
    return Theme::font(11);
}

int chevronBox()
{
    return Theme::Metrics::symbolBox(chevronSize);
}

} // namespace

ActionRow::ActionRow(const QString &symbol, const QColor &color, const QString &title,
                     const QString &subtitle, QWidget *parent)
    : QWidget(parent), m_symbol(symbol), m_color(color), m_title(title), m_subtitle(subtitle)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(title);
    setAccessibleDescription(subtitle);
}

ActionRow::~ActionRow() = default;

void ActionRow::setSymbol(const QString &symbol)
{
    m_symbol = symbol;
    update();
}

void ActionRow::setColor(const QColor &color)
{
    m_color = color;
    update();
}

void ActionRow::setTitle(const QString &title)
{
    m_title = title;
    setAccessibleName(title);
    updateGeometry();
    update();
}

void ActionRow::setSubtitle(const QString &subtitle)
{
    m_subtitle = subtitle;
    setAccessibleDescription(subtitle);
    updateGeometry();
    update();
}

QSize ActionRow::sizeHint() const
{
    const QFontMetrics title(titleFont());
    const QFontMetrics subtitle(subtitleFont());
    const int padding = Theme::Metrics::actionRowPadding;
    const int textWidth = std::max(title.horizontalAdvance(m_title), subtitle.horizontalAdvance(m_subtitle));
    const int textHeight = title.height() + textSpacing + subtitle.height();
    const int width =
        padding + Theme::Metrics::actionTileSize + spacing + textWidth + spacing + chevronBox() + padding;
    return {width, padding + std::max(Theme::Metrics::actionTileSize, textHeight) + padding};
}

QSize ActionRow::minimumSizeHint() const
{
    const QSize hint = sizeHint();
    const int padding = Theme::Metrics::actionRowPadding;
    return {padding * 2 + Theme::Metrics::actionTileSize + spacing * 2 + chevronBox() + 40, hint.height()};
}

void ActionRow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area(rect());
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::withOpacity(Theme::white(), Theme::Opacity::actionRowBackdrop));
    painter.drawRoundedRect(area, Theme::Metrics::actionRowRadius, Theme::Metrics::actionRowRadius);

    const int padding = Theme::Metrics::actionRowPadding;
    const int tileSize = Theme::Metrics::actionTileSize;
    const QRectF tile(padding, (height() - tileSize) / 2.0, tileSize, tileSize);
    painter.setBrush(Theme::withOpacity(m_color, Theme::Opacity::actionTile));
    painter.drawRoundedRect(tile, Theme::Metrics::actionTileRadius, Theme::Metrics::actionTileRadius);
    const int iconBox = Theme::Metrics::symbolBox(iconSize);
    Icons::paint(
        &painter,
        QRectF(tile.center().x() - iconBox / 2.0, tile.center().y() - iconBox / 2.0, iconBox, iconBox),
        m_symbol, m_color);

    const int chevron = chevronBox();
    const QRectF chevronRect(width() - padding - chevron, (height() - chevron) / 2.0, chevron, chevron);
    Icons::paint(&painter, chevronRect, QStringLiteral("chevron.right"), Theme::textTertiary());

    const QFont title = titleFont();
    const QFont subtitle = subtitleFont();
    const QFontMetrics titleMetrics(title);
    const QFontMetrics subtitleMetrics(subtitle);
    const int textLeft = int(tile.right()) + spacing;
    const int textWidth = std::max(0, int(chevronRect.left()) - spacing - textLeft);
    const int textHeight = titleMetrics.height() + textSpacing + subtitleMetrics.height();
    const int top = (height() - textHeight) / 2;

    painter.setFont(title);
    painter.setPen(Theme::textPrimary());
    painter.drawText(QRect(textLeft, top, textWidth, titleMetrics.height()), Qt::AlignLeft | Qt::AlignVCenter,
                     titleMetrics.elidedText(m_title, Qt::ElideRight, textWidth));
    painter.setFont(subtitle);
    painter.setPen(Theme::textSecondary());
    painter.drawText(
        QRect(textLeft, top + titleMetrics.height() + textSpacing, textWidth, subtitleMetrics.height()),
        Qt::AlignLeft | Qt::AlignVCenter, subtitleMetrics.elidedText(m_subtitle, Qt::ElideRight, textWidth));
}
