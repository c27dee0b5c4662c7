#include "ui/screens/LogBox.h"

#include "ui/FocusRing.h"
#include "ui/Theme.h"
#include "ui/screens/LogTextView.h"

#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

namespace {

constexpr int padding = 18;
constexpr qreal radius = 16;

} // namespace

LogBox::LogBox(const QString *text, QWidget *parent) : QWidget(parent), m_text(new LogTextView(text))
{
    m_text->setObjectName(QStringLiteral("logText"));
    m_text->setAccessibleName(QStringLiteral("Журнал процесса"));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(padding, padding, padding, padding);
    layout->addWidget(m_text);
}

LogBox::~LogBox() = default;

void LogBox::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    shape.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.fillPath(shape, Theme::withOpacity(Theme::black(), Theme::Opacity::logFill));
    painter.setPen(
        QPen(Theme::withOpacity(Theme::green(), Theme::Opacity::logOutline), Theme::Metrics::outlineWidth));
    painter.drawPath(shape);
    if (FocusRing::isVisible(m_text)) {
        QPainterPath ring;
        ring.addRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), radius - 0.5, radius - 0.5);
        painter.setPen(QPen(Theme::focusRing(), Theme::Metrics::focusRingWidth));
        painter.drawPath(ring);
    }
}
