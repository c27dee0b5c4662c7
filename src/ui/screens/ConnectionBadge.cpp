#include "ui/screens/ConnectionBadge.h"

#include "ui/Theme.h"

#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int dotSize = 8;
constexpr int spacing = 8;
constexpr int horizontalPadding = 13;
constexpr int verticalPadding = 8;
constexpr int textSize = 12;

QFont badgeFont()
{
    return Theme::font(textSize, QFont::DemiBold);
}

} // namespace

ConnectionBadge::ConnectionBadge(QWidget *parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(text());
}

ConnectionBadge::~ConnectionBadge() = default;

// Every device check publishes the watch again: an unchanged state costs no new layout.
void ConnectionBadge::setConnected(bool connected)
{
    if (connected == m_connected)
        return;
    m_connected = connected;
    setAccessibleName(text());
    updateGeometry();
    update();
}

QString ConnectionBadge::text() const
{
    return m_connected ? QStringLiteral("Часы подключены") : QStringLiteral("Ожидание устройства");
}

QSize ConnectionBadge::sizeHint() const
{
    const QFontMetrics metrics(badgeFont());
    return {horizontalPadding * 2 + dotSize + spacing + metrics.horizontalAdvance(text()),
            verticalPadding * 2 + std::max(dotSize, metrics.height())};
}

void ConnectionBadge::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = rect();
    QPainterPath capsule;
    capsule.addRoundedRect(area, area.height() / 2, area.height() / 2);
    painter.fillPath(capsule, Theme::withOpacity(Theme::white(), Theme::Opacity::badgeCapsule));

    painter.setPen(Qt::NoPen);
    painter.setBrush(m_connected ? Theme::green() : Theme::orange());
    painter.drawEllipse(QRectF(horizontalPadding, area.center().y() - dotSize / 2.0, dotSize, dotSize));

    painter.setFont(badgeFont());
    painter.setPen(Theme::textPrimary());
    const QRectF textArea = area.adjusted(horizontalPadding + dotSize + spacing, 0, -horizontalPadding, 0);
    painter.drawText(textArea, Qt::AlignLeft | Qt::AlignVCenter, text());
}
