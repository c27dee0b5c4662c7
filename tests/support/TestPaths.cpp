#include "support/TestPaths.h"

#include "tools/SystemPaths.h"

#include <QDir>

TestPaths::TestPaths()
{
    QDir root(m_root.path());
    for (const char *folder : {"resources/Tools/bin", "resources/Tools/lib", "home", "Downloads",
                               "Application Support", "system", "sys-usb"})
        root.mkpath(QString::fromLatin1(folder));

    m_overrides.resourceFolder = std::optional<QString>(resources());
    m_overrides.homeFolder = root.filePath(QStringLiteral("home"));
    m_overrides.downloadsFolder = downloads();
    m_overrides.applicationSupportFolder = applicationSupport();
    m_overrides.ioregTool = ioreg();
    m_overrides.shasumTool = shasum();
    m_overrides.configuratorTool = cfgutil();
    m_overrides.usbDevicesFolder = usbDevices();
    SystemPaths::Testing::setOverrides(m_overrides);
}

TestPaths::~TestPaths()
{
    SystemPaths::Testing::reset();
}

QString TestPaths::resources() const
{
    return QDir(root()).filePath(QStringLiteral("resources"));
}
QString TestPaths::toolsRoot() const
{
    return QDir(resources()).filePath(QStringLiteral("Tools"));
}
QString TestPaths::downloads() const
{
    return QDir(root()).filePath(QStringLiteral("Downloads"));
}
QString TestPaths::applicationSupport() const
{
    return QDir(root()).filePath(QStringLiteral("Application Support"));
}
QString TestPaths::ioreg() const
{
    return QDir(root()).filePath(QStringLiteral("system/ioreg"));
}
QString TestPaths::shasum() const
{
    return QDir(root()).filePath(QStringLiteral("system/shasum"));
}
QString TestPaths::cfgutil() const
{
    return QDir(root()).filePath(QStringLiteral("system/cfgutil"));
}
QString TestPaths::usbDevices() const
{
    return QDir(root()).filePath(QStringLiteral("sys-usb"));
}
void TestPaths::setConfiguratorTool(const QString &path)
{
    m_overrides.configuratorTool = path;
    SystemPaths::Testing::setOverrides(m_overrides);
}

QString TestPaths::tool(const QString &relativePath) const
{
    return QDir(toolsRoot()).filePath(relativePath);
}
