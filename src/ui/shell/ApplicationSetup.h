#pragma once

class QApplication;

// What the shell sets on the application object before its window opens: the desktop entry's
// name (Wayland compositors find the icon and the launcher through it).
//
// Once the first frame is painted it sets the window icon and reports the tools folder the
// locator found, as an info message of the logging category "corvalin.startup", which is off
// unless switched on with QT_LOGGING_RULES="corvalin.startup.info=true". Packagers and
// technicians check an installation with it; it changes nothing the application does.
namespace ApplicationSetup {

void apply(QApplication &application);
void completeAfterFirstFrame();

} // namespace ApplicationSetup
