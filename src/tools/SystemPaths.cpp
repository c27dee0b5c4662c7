#include "tools/SystemPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

namespace SystemPaths {
namespace {

Testing::Overrides &overrides()
{
    static Testing::Overrides instance;
    return instance;
}

// The platform always has these folders; a missing one means a broken installation.
QString requiredStandardLocation(QStandardPaths::StandardLocation location)
{
    const QStringList folders = QStandardPaths::standardLocations(location);
    if (folders.isEmpty())
        qFatal("The platform reports no standard folder of type %d", int(location));
    return folders.first();
}

} // namespace

std::optional<QString> resourceFolder()
{
    if (overrides().resourceFolder)
        return *overrides().resourceFolder;
    const QString executableFolder = QCoreApplication::applicationDirPath();
    if (executableFolder.isEmpty())
        return std::nullopt;
#ifdef Q_OS_MACOS
    return QDir::cleanPath(executableFolder + QStringLiteral("/../Resources"));
#else
    return executableFolder;
#endif
}

QString homeFolder()
{
    return overrides().homeFolder.value_or(QDir::homePath());
}

QString downloadsFolder()
{
    if (overrides().downloadsFolder)
        return *overrides().downloadsFolder;
    return requiredStandardLocation(QStandardPaths::DownloadLocation);
}

QString applicationSupportFolder()
{
    if (overrides().applicationSupportFolder)
        return *overrides().applicationSupportFolder;
    return requiredStandardLocation(QStandardPaths::GenericDataLocation);
}

QString ioregTool()
{
    return overrides().ioregTool.value_or(QStringLiteral("/usr/sbin/ioreg"));
}

QString shasumTool()
{
    return overrides().shasumTool.value_or(QStringLiteral("/usr/bin/shasum"));
}

QString configuratorTool([[maybe_unused]] const QString &toolsRoot)
{
    if (overrides().configuratorTool)
        return *overrides().configuratorTool;
#ifdef Q_OS_MACOS
    return QStringLiteral("/Applications/Apple Configurator.app/Contents/MacOS/cfgutil");
#else
    return QDir(toolsRoot).filePath(QStringLiteral("bin/cfgutil"));
#endif
}

QString usbDevicesFolder()
{
    return overrides().usbDevicesFolder.value_or(QStringLiteral("/sys/bus/usb/devices"));
}

namespace Testing {

void setOverrides(const Overrides &replacement)
{
    overrides() = replacement;
}

void reset()
{
    overrides() = Overrides{};
}

} // namespace Testing

} // namespace SystemPaths
