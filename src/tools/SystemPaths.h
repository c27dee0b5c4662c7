#pragma once

#include <QString>

#include <optional>

// Where the platform keeps the things the application depends on: its resource folder, the
// user's folders and the fixed system tools. This is the one seam between the core and the
// platform's layout; tests redirect it through SystemPaths::Testing and nothing else does.
namespace SystemPaths {

// macOS: the bundle's Contents/Resources. Elsewhere: the executable's own folder.
std::optional<QString> resourceFolder();
QString homeFolder();
QString downloadsFolder();
QString applicationSupportFolder();

QString ioregTool();
QString shasumTool();
// The fixed location of Apple Configurator's command-line tool. Linux has no Configurator:
// a tool with the same command line may be provided as bin/cfgutil in the tools folder.
QString configuratorTool(const QString &toolsRoot);
// Linux only: the sysfs folder listing attached USB devices.
QString usbDevicesFolder();

namespace Testing {

struct Overrides {
    std::optional<std::optional<QString>> resourceFolder; // outer: overridden; inner: the folder or none
    std::optional<QString> homeFolder;
    std::optional<QString> downloadsFolder;
    std::optional<QString> applicationSupportFolder;
    std::optional<QString> ioregTool;
    std::optional<QString> shasumTool;
    std::optional<QString> configuratorTool;
    std::optional<QString> usbDevicesFolder;
};

void setOverrides(const Overrides &overrides);
void reset();

} // namespace Testing

} // namespace SystemPaths
