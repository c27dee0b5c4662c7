#include "ui/ButtonStyles.h"

#include "ui/Theme.h"

#include <QLinearGradient>
#include <QPainter>

namespace {

void drawShape(QPainter &painter, const QRectF &shape, qreal radius, const QBrush &fill, const QPen &outline,
               qreal opacity)
{
    painter.save();
    painter.setOpacity(painter.opacity() * opacity);
    painter.setBrush(fill);
    painter.setPen(outline);
    painter.drawRoundedRect(shape, radius, radius);
    painter.restore();
}

} // namespace

ButtonMetrics PrimaryButtonStyle::metrics() const
{
    using namespace Theme::Metrics;
    return {primaryButtonHeight, primaryButtonPadding, primaryButtonRadius, Theme::font(13, QFont::DemiBold),
            Theme::white()};
}

ButtonLook PrimaryButtonStyle::look(bool pressed) const
{
    return {Theme::studioAccentDeep(), pressed ? Theme::Opacity::primaryPressed : 1.0,
            pressed ? Theme::Opacity::primaryPressedScale : 1.0};
}

void PrimaryButtonStyle::drawBackground(QPainter &painter, const QRectF &shape, bool pressed) const
{
    const ButtonLook current = look(pressed);
    QLinearGradient gradient(shape.topLeft(), shape.topRight());
    gradient.setColorAt(0, current.fill);
    gradient.setColorAt(1, Theme::withOpacity(Theme::studioAccent(), Theme::Opacity::primaryGradientEnd));
    drawShape(painter, shape, metrics().radius, gradient, Qt::NoPen, current.opacity);
}

ButtonMetrics SecondaryButtonStyle::metrics() const
{
    using namespace Theme::Metrics;
    return {secondaryButtonHeight, secondaryButtonPadding, secondaryButtonRadius,
            Theme::font(12, QFont::DemiBold), Theme::textPrimary()};
}

ButtonLook SecondaryButtonStyle::look(bool pressed) const
{
    return {Theme::withOpacity(Theme::white(), pressed ? Theme::Opacity::secondaryFillPressed
                                                       : Theme::Opacity::secondaryFill),
            1.0, 1.0};
}

void SecondaryButtonStyle::drawBackground(QPainter &painter, const QRectF &shape, bool pressed) const
{
    const QPen outline(Theme::withOpacity(Theme::white(), Theme::Opacity::secondaryOutline),
                       Theme::Metrics::outlineWidth);
    drawShape(painter, shape, metrics().radius, look(pressed).fill, outline, 1.0);
}

// The primary button's shape and label; only the fill differs.
ButtonMetrics DangerButtonStyle::metrics() const
{
    return PrimaryButtonStyle{}.metrics();
}

ButtonLook DangerButtonStyle::look(bool pressed) const
{
    return {Theme::withOpacity(Theme::red(),
                               pressed ? Theme::Opacity::dangerFillPressed : Theme::Opacity::dangerFill),
            1.0, 1.0};
}

void DangerButtonStyle::drawBackground(QPainter &painter, const QRectF &shape, bool pressed) const
{
    drawShape(painter, shape, metrics().radius, look(pressed).fill, Qt::NoPen, 1.0);
}

ButtonMetrics metricsOf(const ButtonStyle &style)
{
    return std::visit([](const auto &chosen) { return chosen.metrics(); }, style);
}

ButtonLook lookOf(const ButtonStyle &style, bool pressed)
{
    return std::visit([pressed](const auto &chosen) { return chosen.look(pressed); }, style);
}

void drawBackgroundOf(const ButtonStyle &style, QPainter &painter, const QRectF &shape, bool pressed)
{
    std::visit([&](const auto &chosen) { chosen.drawBackground(painter, shape, pressed); }, style);
}
