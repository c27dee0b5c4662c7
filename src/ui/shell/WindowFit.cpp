#include "ui/shell/WindowFit.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace {

constexpr int assumedTitleBar = 38;

QMargins frameOf(const QWidget *window)
{
    const QRect outer = window->frameGeometry();
    const QRect inner = window->geometry();
    const QMargins reported(inner.left() - outer.left(), inner.top() - outer.top(),
                            outer.right() - inner.right(), outer.bottom() - inner.bottom());
    // Before the window manager has framed the window both are the same.
    return reported.isNull() ? WindowFit::assumedFrame() : reported;
}

QRect availableFor(const QWidget *window)
{
    const QScreen *screen = window->screen() ? window->screen() : QGuiApplication::primaryScreen();
    return screen ? screen->availableGeometry() : QRect();
}

QSize room(const QRect &available, const QMargins &frame)
{
    return available.size().shrunkBy(frame).expandedTo(QSize(1, 1));
}

} // namespace

namespace WindowFit {

QMargins assumedFrame()
{
    return {0, assumedTitleBar, 0, 0};
}

QSize minimumSize(QSize wanted, const QRect &available, const QMargins &frame)
{
    if (available.isEmpty())
        return wanted;
    return wanted.boundedTo(room(available, frame));
}

QSize openingSize(QSize preferred, QSize minimum, const QRect &available, const QMargins &frame)
{
    const QSize bounded = available.isEmpty() ? preferred : preferred.boundedTo(room(available, frame));
    return bounded.expandedTo(minimum);
}

void apply(QWidget *window, QSize wanted, QSize preferred)
{
    const QRect available = availableFor(window);
    const QMargins frame = frameOf(window);
    const QSize minimum = minimumSize(wanted, available, frame);
    window->setMinimumSize(minimum);
    window->resize(openingSize(preferred, minimum, available, frame));
}

void applyMinimum(QWidget *window, QSize wanted)
{
    const QRect available = availableFor(window);
    const QMargins frame = frameOf(window);
    const QSize minimum = minimumSize(wanted, available, frame);
    window->setMinimumSize(minimum);
    const QSize fitting = window->size().boundedTo(room(available, frame)).expandedTo(minimum);
    if (!available.isEmpty() && fitting != window->size())
        window->resize(fitting);
}

} // namespace WindowFit
