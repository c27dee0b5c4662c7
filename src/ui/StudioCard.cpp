#include "ui/StudioCard.h"

#include "ui/Theme.h"

#include <QPaintEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <cmath>

StudioCard::StudioCard(QWidget *parent) : QWidget(parent), m_content(new QVBoxLayout(this))
{
    const int padding = Theme::Metrics::cardPadding;
    m_content->setContentsMargins(padding, padding, padding, padding);
}

StudioCard::~StudioCard() = default;

// The ultra-thin material is a faint translucent fill over whatever lies behind the card.
void StudioCard::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    const qreal radius = Theme::Metrics::cardRadius;
    const QColor material = Theme::withOpacity(Theme::white(), Theme::Opacity::cardMaterial);
    // A repaint well inside the card (a turning spinner) only needs the flat material there: the
    // same pixels, without stroking and filling the whole rounded outline again.
    const int edge = int(std::ceil(radius + Theme::Metrics::outlineWidth));
    if (rect().adjusted(edge, edge, -edge, -edge).contains(event->region().boundingRect())) {
        for (const QRect &part : event->region())
            painter.fillRect(part, material);
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF shape = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(
        QPen(Theme::withOpacity(Theme::white(), Theme::Opacity::cardOutline), Theme::Metrics::outlineWidth));
    painter.setBrush(material);
    painter.drawRoundedRect(shape, radius, radius);
}
