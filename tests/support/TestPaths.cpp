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

void TestPaths::setConfiguratorTool(const QString &path)
{
    m_overrides.configuratorTool = path;
    SystemPaths::Testing::setOverrides(m_overrides);
}

void TestPaths::setDownloadsFolder(const QString &path)
{
    m_overrides.downloadsFolder = path;
    SystemPaths::Testing::setOverrides(m_overrides);
}
