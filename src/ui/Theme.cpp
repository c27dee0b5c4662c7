#include "ui/Theme.h"

#include "ui/FontFamilies.h"
#include "ui/StudioStyle.h"

#include <QApplication>
#include <QList>
#include <QPalette>
#include <QStyleFactory>
#include <QWidget>

#include <cmath>
#include <utility>

namespace Theme {

namespace {

QColor fromComponents(qreal red, qreal green, qreal blue)
{
    return QColor::fromRgbF(float(red), float(green), float(blue));
}

QPalette darkPalette()
{
    const QColor window = fromComponents(0.07, 0.04, 0.11);
    const QColor base = fromComponents(0.10, 0.06, 0.15);
    // Every role in every colour group: an inactive window looks as the active one does; a
    // disabled control differs only in its text, which fades to the tertiary colour.
    const QList<std::pair<QPalette::ColorRole, QColor>> roles{
        {QPalette::Window, window},
        {QPalette::WindowText, textPrimary()},
        {QPalette::Base, base},
        {QPalette::AlternateBase, window},
        {QPalette::ToolTipBase, base},
        {QPalette::ToolTipText, textPrimary()},
        {QPalette::PlaceholderText, textPlaceholder()},
        {QPalette::Text, textPrimary()},
        {QPalette::Button, fromComponents(0.16, 0.11, 0.22)},
        {QPalette::ButtonText, textPrimary()},
        {QPalette::BrightText, red()},
        {QPalette::Light, fromComponents(0.25, 0.2, 0.32)},
        {QPalette::Midlight, fromComponents(0.2, 0.15, 0.27)},
        {QPalette::Mid, fromComponents(0.14, 0.1, 0.2)},
        {QPalette::Dark, fromComponents(0.05, 0.03, 0.08)},
        {QPalette::Shadow, black()},
        {QPalette::Highlight, studioAccent()},
        {QPalette::HighlightedText, white()},
        {QPalette::Link, studioAccent()},
        {QPalette::LinkVisited, studioRose()},
    };
    QPalette palette;
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        for (const auto &[role, color] : roles)
            palette.setColor(group, role, color);
    }
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, textTertiary());
    return palette;
}

} // namespace

QColor studioBackgroundStart()
{
    return fromComponents(0.04, 0.022, 0.075);
}

QColor studioBackgroundEnd()
{
    return fromComponents(0.105, 0.035, 0.165);
}

QColor studioAccent()
{
    return fromComponents(0.66, 0.22, 0.88);
}

QColor studioAccentDeep()
{
    return fromComponents(0.36, 0.14, 0.72);
}

QColor studioRose()
{
    return fromComponents(0.78, 0.2, 0.62);
}

QColor sidebarBackground()
{
    return fromComponents(0.03, 0.016, 0.06);
}

QColor white()
{
    return QColor(255, 255, 255);
}

QColor black()
{
    return QColor(0, 0, 0);
}

// The system colours as the dark appearance draws them.
QColor red()
{
    return QColor(255, 69, 58);
}

QColor orange()
{
    return QColor(255, 159, 10);
}

QColor green()
{
    return QColor(48, 209, 88);
}

QColor textPrimary()
{
    return QColor(255, 255, 255, 217);
}

QColor textSecondary()
{
    return QColor(235, 235, 245, 153);
}

QColor textTertiary()
{
    return QColor(235, 235, 245, 77);
}

QColor textPlaceholder()
{
    return QColor(235, 235, 245, 140);
}

QColor logText()
{
    return QColor::fromRgbF(0.7f, 0.95f, 0.85f);
}

QColor focusRing()
{
    return withOpacity(studioAccent(), Opacity::focusRing);
}

QColor focusRingOnAccent()
{
    return withOpacity(white(), Opacity::focusRingOnAccent);
}

QColor withOpacity(QColor color, qreal opacity)
{
    color.setAlphaF(float(color.alphaF() * opacity));
    return color;
}

const QLinearGradient &studioBackground()
{
    static const QLinearGradient gradient = [] {
        QLinearGradient built(0, 0, 1, 1);
        built.setCoordinateMode(QGradient::ObjectMode);
        built.setColorAt(0, studioBackgroundStart());
        built.setColorAt(1, studioBackgroundEnd());
        return built;
    }();
    return gradient;
}

QFont font(int size, QFont::Weight weight, FontDesign design, qreal tracking)
{
    QFont result(FontFamilies::of(design));
    result.setPixelSize(size);
    result.setWeight(weight);
    // Manrope's Bold is a step thinner than the platform's rounded bold; its ExtraBold matches it.
    if (design == FontDesign::rounded && weight == QFont::Bold && result.family() == QLatin1String("Manrope"))
        result.setWeight(QFont::ExtraBold);
    if (design == FontDesign::monospaced)
        result.setStyleHint(QFont::Monospace);
    if (tracking != 0)
        result.setLetterSpacing(QFont::AbsoluteSpacing, tracking);
    result.setHintingPreference(QFont::PreferNoHinting);
    return result;
}

void styleText(QWidget *widget, const QFont &textFont, const QColor &color)
{
    widget->setFont(textFont);
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, color);
    palette.setColor(QPalette::Text, color);
    widget->setPalette(palette);
}

void applyDarkAppearance(QApplication &application)
{
    if (QStyle *fusion = QStyleFactory::create(QStringLiteral("Fusion")))
        QApplication::setStyle(new StudioStyle(fusion));
    QApplication::setPalette(darkPalette());
    QApplication::setFont(font(13));
    Q_UNUSED(application)
}

void applyDarkAppearance(QWidget *widget)
{
    widget->setPalette(darkPalette());
}

namespace Metrics {

int symbolBox(int fontSize)
{
    return int(std::lround(fontSize * 1.2));
}

} // namespace Metrics

} // namespace Theme
