#pragma once

#include <functional>

class QWidget;

// What waits until the window's first frame is on screen, so that nothing the first frame does
// not show delays it. Once it is painted, "First frame" is logged in the start-up category, so
// start-up can be timed from outside (QT_LOGGING_RULES="corvalin.startup.info=true").
namespace FirstFrame {

void whenPainted(QWidget *window, std::function<void()> then);

// Runs `then` once `widget` has been painted for the first time and that frame is on screen,
// without logging anything.
void afterFirstPaint(QWidget *widget, std::function<void()> then);

} // namespace FirstFrame
