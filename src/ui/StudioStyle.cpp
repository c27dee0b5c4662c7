#include "ui/StudioStyle.h"

#include "ui/DeferredIcon.h"
#include "ui/Theme.h"

#include <QPainter>
#include <QPointer>
#include <QStyleOptionSlider>

namespace {

constexpr int barThickness = 10;
constexpr int handleInset = 2;
constexpr int handleMinimumLength = 28;

} // namespace

StudioStyle::StudioStyle(QStyle *base) : QProxyStyle(base) {}

StudioStyle::~StudioStyle() = default;

int StudioStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    switch (metric) {
    case PM_ScrollBarExtent: return barThickness;
    case PM_ScrollBarSliderMin: return handleMinimumLength;
    default: return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

QRect StudioStyle::subControlRect(ComplexControl control, const QStyleOptionComplex *option,
                                  SubControl subControl, const QWidget *widget) const
{
    const auto *bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
    if (control != CC_ScrollBar || !bar)
        return QProxyStyle::subControlRect(control, option, subControl, widget);

    // The whole bar is track: no arrow buttons at either end.
    const QRect track = bar->rect;
    const bool horizontal = bar->orientation == Qt::Horizontal;
    const int length = horizontal ? track.width() : track.height();
    const qint64 range = qint64(bar->maximum) - bar->minimum;
    int handle = length;
    if (range > 0)
        handle = int(
            std::max<qint64>(handleMinimumLength, qint64(bar->pageStep) * length / (range + bar->pageStep)));
    handle = std::min(handle, length);
    const int start = sliderPositionFromValue(bar->minimum, bar->maximum, bar->sliderPosition,
                                              length - handle, bar->upsideDown);
    const auto span = [&](int from, int extent) {
        return horizontal ? QRect(track.x() + from, track.y(), extent, track.height())
                          : QRect(track.x(), track.y() + from, track.width(), extent);
    };
    QRect result;
    switch (subControl) {
    case SC_ScrollBarGroove: result = track; break;
    case SC_ScrollBarSlider: result = span(start, handle); break;
    case SC_ScrollBarSubPage: result = span(0, start); break;
    case SC_ScrollBarAddPage: result = span(start + handle, length - start - handle); break;
    default: return {};
    }
    return visualRect(bar->direction, track, result);
}

void StudioStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex *option,
                                     QPainter *painter, const QWidget *widget) const
{
    const auto *bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
    if (control != CC_ScrollBar || !bar) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    if (bar->maximum <= bar->minimum)
        return;
    const QRect handle = subControlRect(control, option, SC_ScrollBarSlider, widget)
                             .adjusted(handleInset, handleInset, -handleInset, -handleInset);
    const bool active =
        (bar->activeSubControls & SC_ScrollBarSlider) && (bar->state & (State_MouseOver | State_Sunken));
    const qreal radius = std::min(handle.width(), handle.height()) / 2.0;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(Theme::withOpacity(Theme::white(), active ? Theme::Opacity::scrollHandleActive
                                                                : Theme::Opacity::scrollHandle));
    painter->drawRoundedRect(QRectF(handle), radius, radius);
    painter->restore();
}

// Every menu bar asks for its overflow button's icon when it is built, which would load the image
// plugins before the first frame; the icon is read when the button is first drawn instead.
QIcon StudioStyle::standardIcon(StandardPixmap standardIcon, const QStyleOption *option,
                                const QWidget *widget) const
{
    if (option)
        return QProxyStyle::standardIcon(standardIcon, option, widget);
    return DeferredIcon::make(
        [style = QPointer<const StudioStyle>(this), standardIcon, widget = QPointer<const QWidget>(widget)] {
            return style ? style->QProxyStyle::standardIcon(standardIcon, nullptr, widget) : QIcon();
        });
}
