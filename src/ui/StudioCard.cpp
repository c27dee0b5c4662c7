#include "ui/StudioCard.h"

#include "ui/Theme.h"

#include <QPainter>
#include <QVBoxLayout>

StudioCard::StudioCard(QWidget *parent) : QWidget(parent), m_content(new QVBoxLayout(this))
{
    const int padding = Theme::Metrics::cardPadding;
    m_content->setContentsMargins(padding, padding, padding, padding);
}

StudioCard::~StudioCard() = default;

// The ultra-thin material is a faint translucent fill over whatever lies behind the card.
void StudioCard::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal radius = Theme::Metrics::cardRadius;
    const QRectF shape = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(
        QPen(Theme::withOpacity(Theme::white(), Theme::Opacity::cardOutline), Theme::Metrics::outlineWidth));
    painter.setBrush(Theme::withOpacity(Theme::white(), Theme::Opacity::cardMaterial));
    painter.drawRoundedRect(shape, radius, radius);
}
