#include "ui/StudioButton.h"

#include "ui/FocusRing.h"
#include "ui/Icons.h"
#include "ui/Theme.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QPainter>
#include <QtMath>

namespace {

constexpr int symbolSpacing = 6;

struct StyleMetrics {
    int height;
    int padding;
    qreal radius;
    QFont font;
    QColor label;
};

StyleMetrics metricsFor(StudioButtonStyle style)
{
    using namespace Theme::Metrics;
    switch (style) {
    case StudioButtonStyle::secondary:
        return {secondaryButtonHeight, secondaryButtonPadding, secondaryButtonRadius,
                Theme::font(12, QFont::DemiBold), Theme::textPrimary()};
    case StudioButtonStyle::danger:
        return {primaryButtonHeight, primaryButtonPadding, primaryButtonRadius,
                Theme::font(13, QFont::DemiBold), Theme::white()};
    case StudioButtonStyle::primary: break;
    }
    return {primaryButtonHeight, primaryButtonPadding, primaryButtonRadius, Theme::font(13, QFont::DemiBold),
            Theme::white()};
}

} // namespace

StudioButton::StudioButton(StudioButtonStyle style, const QString &text, const QString &symbol,
                           QWidget *parent)
    : QAbstractButton(parent), m_style(style), m_symbol(symbol)
{
    setText(text);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setButtonStyle(style);
}

StudioButton::~StudioButton() = default;

void StudioButton::setButtonStyle(StudioButtonStyle style)
{
    m_style = style;
    setFixedHeight(metricsFor(style).height);
    updateGeometry();
    update();
}

void StudioButton::setSymbol(const QString &symbol)
{
    m_symbol = symbol;
    updateGeometry();
    update();
}

StudioButton::Look StudioButton::look() const
{
    const bool pressed = isDown();
    switch (m_style) {
    case StudioButtonStyle::secondary:
        return {Theme::withOpacity(Theme::white(), pressed ? Theme::Opacity::secondaryFillPressed
                                                           : Theme::Opacity::secondaryFill),
                1.0, 1.0};
    case StudioButtonStyle::danger:
        return {Theme::withOpacity(Theme::red(),
                                   pressed ? Theme::Opacity::dangerFillPressed : Theme::Opacity::dangerFill),
                1.0, 1.0};
    case StudioButtonStyle::primary: break;
    }
    return {Theme::studioAccentDeep(), pressed ? Theme::Opacity::primaryPressed : 1.0,
            pressed ? Theme::Opacity::primaryPressedScale : 1.0};
}

QSize StudioButton::sizeHint() const
{
    const StyleMetrics metrics = metricsFor(m_style);
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

void StudioButton::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        event->accept();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void StudioButton::paintEvent(QPaintEvent *)
{
    const StyleMetrics metrics = metricsFor(m_style);
    const Look current = look();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    const QPointF centre = QRectF(rect()).center();
    painter.translate(centre);
    painter.scale(current.scale, current.scale);
    painter.translate(-centre);

    const QRectF shape = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.save();
    painter.setOpacity(current.opacity);
    if (m_style == StudioButtonStyle::primary) {
        QLinearGradient gradient(shape.topLeft(), shape.topRight());
        gradient.setColorAt(0, Theme::studioAccentDeep());
        gradient.setColorAt(1, Theme::withOpacity(Theme::studioAccent(), Theme::Opacity::primaryGradientEnd));
        painter.setBrush(gradient);
    } else {
        painter.setBrush(current.fill);
    }
    if (m_style == StudioButtonStyle::secondary)
        painter.setPen(QPen(Theme::withOpacity(Theme::white(), Theme::Opacity::secondaryOutline),
                            Theme::Metrics::outlineWidth));
    else
        painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(shape, metrics.radius, metrics.radius);
    painter.restore();

    if (FocusRing::isVisible(this)) {
        painter.setPen(QPen(Theme::withOpacity(Theme::white(), 0.7), 2));
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
