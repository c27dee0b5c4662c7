#include "support/TestPaths.h"

#include "tools/SystemPaths.h"

#include <QDir>
#include <QFile>

namespace {

const char *const muxAddressVariable = "USBMUXD_SOCKET_ADDRESS";

} // namespace

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

    m_savedMuxAddress = qgetenv(muxAddressVariable);
    qputenv(muxAddressVariable, "UNIX:" + QFile::encodeName(root.filePath(QStringLiteral("usbmuxd.socket"))));
}

TestPaths::~TestPaths()
{
    SystemPaths::Testing::reset();
    if (m_savedMuxAddress.isEmpty())
        qunsetenv(muxAddressVariable);
    else
        qputenv(muxAddressVariable, m_savedMuxAddress);
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
