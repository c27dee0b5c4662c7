#include "ui/Theme.h"

#include "ui/StudioStyle.h"

#include <QApplication>
#include <QFontDatabase>
#include <QGraphicsOpacityEffect>
#include <QPalette>
#include <QStyleFactory>
#include <QWidget>

#include <cmath>

namespace Theme {

namespace {

QColor fromComponents(qreal red, qreal green, qreal blue)
{
    return QColor::fromRgbF(float(red), float(green), float(blue));
}

// The first installed family of a list of candidates, or the empty text.
QString firstInstalled(const QStringList &candidates)
{
    const QStringList installed = QFontDatabase::families();
    for (const QString &family : candidates) {
        if (installed.contains(family, Qt::CaseInsensitive))
            return family;
    }
    return {};
}

// Faces with full Cyrillic coverage, closest to the platform's system face first.
const QStringList &standardFamilies()
{
    static const QStringList families{QStringLiteral(".AppleSystemUIFont"), QStringLiteral("Inter"),
                                      QStringLiteral("Noto Sans"), QStringLiteral("DejaVu Sans")};
    return families;
}

// The platform's rounded face where it is installed under that name; otherwise the embedded
// Manrope, whose bold Cyrillic keeps its shapes (round faces such as Comfortaa draw "т" as "m").
const QStringList &roundedFamilies()
{
    static const QStringList families = [] {
        QFontDatabase::addApplicationFont(QStringLiteral(":/fonts/Manrope-ExtraBold.ttf"));
        return QStringList{QStringLiteral("SF Pro Rounded"), QStringLiteral("Manrope")};
    }();
    return families;
}

const QStringList &monospacedFamilies()
{
    static const QStringList families{QStringLiteral("SF Mono"), QStringLiteral("Menlo"),
                                      QStringLiteral("DejaVu Sans Mono"), QStringLiteral("Noto Sans Mono")};
    return families;
}

QString familyFor(FontDesign design)
{
    switch (design) {
    case FontDesign::rounded: {
        static const QString rounded = firstInstalled(roundedFamilies());
        if (!rounded.isEmpty())
            return rounded;
        break;
    }
    case FontDesign::monospaced: {
        static const QString mono = firstInstalled(monospacedFamilies());
        if (!mono.isEmpty())
            return mono;
        return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
    }
    case FontDesign::standard: break;
    }
    static const QString standard = firstInstalled(standardFamilies());
    return standard.isEmpty() ? QFontDatabase::systemFont(QFontDatabase::GeneralFont).family() : standard;
}

QPalette darkPalette()
{
    QPalette palette;
    const QColor window = fromComponents(0.07, 0.04, 0.11);
    const QColor base = fromComponents(0.10, 0.06, 0.15);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, textPrimary());
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, textPrimary());
    palette.setColor(QPalette::PlaceholderText, textPlaceholder());
    palette.setColor(QPalette::Text, textPrimary());
    palette.setColor(QPalette::Button, fromComponents(0.16, 0.11, 0.22));
    palette.setColor(QPalette::ButtonText, textPrimary());
    palette.setColor(QPalette::BrightText, red());
    palette.setColor(QPalette::Light, fromComponents(0.25, 0.2, 0.32));
    palette.setColor(QPalette::Midlight, fromComponents(0.2, 0.15, 0.27));
    palette.setColor(QPalette::Mid, fromComponents(0.14, 0.1, 0.2));
    palette.setColor(QPalette::Dark, fromComponents(0.05, 0.03, 0.08));
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::Highlight, studioAccent());
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, studioAccent());
    palette.setColor(QPalette::LinkVisited, studioRose());
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
    QFont result(familyFor(design));
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

void followEnabledState(QWidget *control)
{
    if (control->isEnabled()) {
        control->setCursor(Qt::PointingHandCursor);
        control->setGraphicsEffect(nullptr);
        return;
    }
    control->unsetCursor();
    // The painted colours stay the style's own; the dimming applies to the finished drawing.
    if (!qobject_cast<QGraphicsOpacityEffect *>(control->graphicsEffect())) {
        auto *dimming = new QGraphicsOpacityEffect;
        dimming->setOpacity(Opacity::disabledControl);
        control->setGraphicsEffect(dimming);
    }
}

namespace Metrics {

int symbolBox(int fontSize)
{
    return int(std::lround(fontSize * 1.2));
}

} // namespace Metrics

} // namespace Theme
