#include "ui/StudioButton.h"

#include "ui/EnabledState.h"
#include "ui/FocusRing.h"
#include "ui/Icons.h"
#include "ui/Theme.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>
#include <QtMath>

namespace {

constexpr int symbolSpacing = 6;

} // namespace

StudioButton::StudioButton(ButtonStyle style, const QString &text, const QString &symbol, QWidget *parent)
    : PaintedButton(parent), m_style(style), m_symbol(symbol)
{
    setText(text);
    setFocusPolicy(Qt::StrongFocus);
    EnabledState::follow(this);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setButtonStyle(style);
}

StudioButton::~StudioButton() = default;

void StudioButton::setButtonStyle(ButtonStyle style)
{
    m_style = style;
    setFixedHeight(metricsOf(m_style).height);
    updateGeometry();
    update();
}

void StudioButton::setSymbol(const QString &symbol)
{
    m_symbol = symbol;
    updateGeometry();
    update();
}

ButtonLook StudioButton::look() const
{
    return lookOf(m_style, isDown());
}

QSize StudioButton::sizeHint() const
{
    const ButtonMetrics metrics = metricsOf(m_style);
    // Rounded up: a label whose exact width has a fraction must not be elided at its own size.
    int content = qCeil(QFontMetricsF(metrics.font).horizontalAdvance(text()));
    if (!m_symbol.isEmpty())
        content +=
            Theme::Metrics::symbolBox(metrics.font.pixelSize()) + (text().isEmpty() ? 0 : symbolSpacing);
    return {metrics.padding * 2 + content, metrics.height};
}

QSize StudioButton::minimumSizeHint() const
{
    return sizeHint();
}

void StudioButton::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::EnabledChange)
        EnabledState::follow(this);
    PaintedButton::changeEvent(event);
}

void StudioButton::paintEvent(QPaintEvent *)
{
    const ButtonMetrics metrics = metricsOf(m_style);
    const ButtonLook current = look();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    const QPointF centre = QRectF(rect()).center();
    painter.translate(centre);
    painter.scale(current.scale, current.scale);
    painter.translate(-centre);

    drawBackgroundOf(m_style, painter, QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), isDown());

    if (FocusRing::isVisible(this)) {
        painter.setPen(QPen(Theme::focusRingOnAccent(), Theme::Metrics::focusRingWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), metrics.radius, metrics.radius);
    }

    // The symbol and the label, centred together.
    const QFontMetrics fontMetrics(metrics.font);
    const int symbolBox = m_symbol.isEmpty() ? 0 : Theme::Metrics::symbolBox(metrics.font.pixelSize());
    const int gap = (symbolBox > 0 && !text().isEmpty()) ? symbolSpacing : 0;
    const int available = width() - metrics.padding * 2 - symbolBox - gap;
    const QString label = fontMetrics.elidedText(text(), Qt::ElideRight, std::max(0, available));
    const int contentWidth = symbolBox + gap + fontMetrics.horizontalAdvance(label);
    qreal x = (width() - contentWidth) / 2.0;
    if (symbolBox > 0) {
        Icons::paint(&painter, QRectF(x, (height() - symbolBox) / 2.0, symbolBox, symbolBox), m_symbol,
                     metrics.label);
        x += symbolBox + gap;
    }
    painter.setFont(metrics.font);
    painter.setPen(metrics.label);
    painter.drawText(QRectF(x, 0, width() - x, height()), Qt::AlignLeft | Qt::AlignVCenter, label);
}
