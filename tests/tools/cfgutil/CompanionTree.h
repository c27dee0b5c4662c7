#pragma once

#include "support/TestPaths.h"

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>

// The built companion, copied into the tools folder of a test tree: it finds the tools placed
// beside it there, fake or real. The application then finds it where it looks on Linux.
inline QString installCompanion(TestPaths &paths)
{
    const QString target = paths.tool(QStringLiteral("bin/cfgutil"));
    QFile::remove(target);
    if (!QFile::copy(QStringLiteral(CORVALIN_CFGUTIL), target))
        qFatal("cannot copy the companion from %s", CORVALIN_CFGUTIL);
    paths.setConfiguratorTool(target);
    return target;
}

// The companion finds the application's cache and logs folders as the application does, from
// HOME and the XDG variables; these point them at the test tree's Downloads and Application
// Support folders.
inline QProcessEnvironment companionEnvironment(const TestPaths &paths)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), paths.root());
    environment.insert(QStringLiteral("XDG_DATA_HOME"), paths.applicationSupport());
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"),
                       QDir(paths.root()).filePath(QStringLiteral(".config")));
    environment.remove(QStringLiteral("XDG_DOWNLOAD_DIR"));
    return environment;
}

// The same for a companion that the application starts: it inherits this process's variables.
class CompanionHome {
public:
    explicit CompanionHome(const TestPaths &paths) : m_saved(QProcessEnvironment::systemEnvironment())
    {
        const QProcessEnvironment wanted = companionEnvironment(paths);
        for (const char *name : names) {
            const QString key = QString::fromLatin1(name);
            if (wanted.contains(key))
                qputenv(name, wanted.value(key).toLocal8Bit());
            else
                qunsetenv(name);
        }
    }
    ~CompanionHome()
    {
        for (const char *name : names) {
            const QString key = QString::fromLatin1(name);
            if (m_saved.contains(key))
                qputenv(name, m_saved.value(key).toLocal8Bit());
            else
                qunsetenv(name);
        }
    }
    CompanionHome(const CompanionHome &) = delete;
    CompanionHome &operator=(const CompanionHome &) = delete;

private:
    static constexpr const char *names[] = {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_DOWNLOAD_DIR"};
    QProcessEnvironment m_saved;
};
