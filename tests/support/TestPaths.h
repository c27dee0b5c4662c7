#pragma once

#include "tools/SystemPaths.h"

#include <QString>
#include <QTemporaryDir>

// Points every platform folder and system tool of the application at a private temporary
// tree for the life of the object, and restores the real ones afterwards.
//
//   root/resources          the resource folder; Tools/ inside it (with bin/ and lib/) is
//                           the tools folder where fake tools go
//   root/home, root/Downloads, root/Application Support
//   root/system/ioreg, root/system/shasum, root/system/cfgutil   fixed system tools
//   root/sys-usb            the sysfs folder of USB devices
//   root/usbmuxd.socket     where the tools look for usbmuxd (USBMUXD_SOCKET_ADDRESS, inherited by
//                           every tool the application starts): nothing serves it, so no test
//                           reaches the system's daemon
class TestPaths {
public:
    TestPaths();
    ~TestPaths();
    TestPaths(const TestPaths &) = delete;
    TestPaths &operator=(const TestPaths &) = delete;

    QString root() const { return m_root.path(); }
    QString resources() const { return at("resources"); }
    // The tools folder the locator finds (created).
    QString toolsRoot() const { return at("resources/Tools"); }
    QString downloads() const { return at("Downloads"); }
    QString applicationSupport() const { return at("Application Support"); }
    QString ioreg() const { return at("system/ioreg"); }
    QString shasum() const { return at("system/shasum"); }
    QString cfgutil() const { return at("system/cfgutil"); }
    // A path inside the tools folder, e.g. tool("bin/irecovery").
    QString tool(const QString &relativePath) const { return toolsRoot() + u'/' + relativePath; }
    QString usbDevices() const { return at("sys-usb"); }

    // Looks for the Configurator tool at `path` instead of system/cfgutil, e.g. at
    // tool("bin/cfgutil") as on Linux.
    void setConfiguratorTool(const QString &path);
    // Takes the user's Downloads folder from `path` instead, e.g. on another volume.
    void setDownloadsFolder(const QString &path);

private:
    QString at(const char *relativePath) const { return m_root.path() + u'/' + QLatin1String(relativePath); }

    QTemporaryDir m_root;
    SystemPaths::Testing::Overrides m_overrides;
    QByteArray m_savedMuxAddress;
};
