#pragma once

class QWidget;

// Logs "First frame" in the start-up category once the window's first frame is painted, so
// start-up can be timed from outside (QT_LOGGING_RULES="corvalin.startup.info=true").
namespace FirstFrameLog {

void watch(QWidget *window);

} // namespace FirstFrameLog
