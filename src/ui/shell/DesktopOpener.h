#pragma once

#include <QUrl>

#include <functional>

// Opens a folder in the file manager or a web address in the browser. Tests replace the
// opener to observe what would be opened without launching anything.
namespace DesktopOpener {

bool open(const QUrl &url);

namespace Testing {
// An empty function restores the system's opener.
void setOpener(std::function<bool(const QUrl &)> opener);
} // namespace Testing

} // namespace DesktopOpener
