#include "tools/ToolLocator.h"

#include "tools/SystemPaths.h"

#include <QDir>
#include <QFileInfo>

namespace ToolLocator {

QString toolsRoot()
{
    if (const auto resources = SystemPaths::resourceFolder()) {
        const QString candidate = QDir(*resources).filePath(QStringLiteral("Tools"));
        // Any item counts, not just a folder: a missing tool then shows up when it is started.
        if (QFileInfo::exists(candidate))
            return candidate;
    }
    // Lets a development build run outside its bundle find the tools of whoever built it.
    return QDir(SystemPaths::homeFolder()).filePath(QStringLiteral(".local/corvalin"));
}

std::optional<QString> cfgutil()
{
    const QString path = SystemPaths::configuratorTool(toolsRoot());
    const QFileInfo info(path);
    if (info.isFile() && info.isExecutable())
        return path;
    return std::nullopt;
}

namespace {

QString ensuredFolder(const QString &base, const QString &relative)
{
    const QString path = QDir(base).filePath(relative);
    QDir().mkpath(path); // a failure surfaces later, when a file is written there
    return path;
}

} // namespace

QString cacheDirectoryPath()
{
    return QDir(SystemPaths::downloadsFolder()).filePath(QStringLiteral("Corvalin Firmware"));
}

QString cacheDirectory()
{
    return ensuredFolder(SystemPaths::downloadsFolder(), QStringLiteral("Corvalin Firmware"));
}

QString logsDirectory()
{
    return ensuredFolder(SystemPaths::applicationSupportFolder(), QStringLiteral("Corvalin Studio/Logs"));
}

QString librarySearchVariable()
{
#ifdef Q_OS_MACOS
    return QStringLiteral("DYLD_LIBRARY_PATH");
#else
    return QStringLiteral("LD_LIBRARY_PATH");
#endif
}

QProcessEnvironment environment()
{
    return environmentFor(toolsRoot());
}

QProcessEnvironment environmentFor(const QString &root)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    const QString variable = librarySearchVariable();
    const QString inherited = env.value(variable);
    const QString libraries = QDir(root).filePath(QStringLiteral("lib"));
    env.insert(variable, inherited.isEmpty() ? libraries : libraries + u':' + inherited);
    env.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    return env;
}

} // namespace ToolLocator
