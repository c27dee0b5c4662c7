#pragma once

#include <QString>

// A message from the desktop's notification service, seen while the window is elsewhere.
// Linux: the freedesktop notification service on the session bus. Elsewhere: the toolkit's
// system-tray message, which macOS shows in its Notification Centre.
namespace DesktopNotification {

void show(const QString &summary, const QString &body);

} // namespace DesktopNotification
