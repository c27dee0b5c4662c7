#pragma once

#include <QMargins>
#include <QRect>
#include <QSize>

class QWidget;

// Fits the window to the screen it opens on. The layout's minimum holds wherever the screen's
// available area (less the panels and the window's own frame) can show it; on a smaller area
// (a 1366×768 laptop with a title bar and a panel, or a display scaled to 150 % or more) the
// minimum and the opening size shrink to that area, and the pages scroll instead of reaching
// past the screen's edge.
namespace WindowFit {

// What the frame adds when the platform has not reported it yet: a title bar.
QMargins assumedFrame();

// The least size of the window's content on a screen whose available area is `available`.
QSize minimumSize(QSize wanted, const QRect &available, const QMargins &frame);
// The size it opens at: the preferred size, within the same bounds.
QSize openingSize(QSize preferred, QSize minimum, const QRect &available, const QMargins &frame);

// Applies both to a top-level window for the screen it is on, with its frame once known.
void apply(QWidget *window, QSize wanted, QSize preferred);
// Applies the minimum alone, keeping the window's size where it still fits.
void applyMinimum(QWidget *window, QSize wanted);

} // namespace WindowFit
