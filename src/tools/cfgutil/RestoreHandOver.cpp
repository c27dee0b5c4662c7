#include "RestoreHandOver.h"

#include "SiblingTools.h"
#include "restore/RestoreLogFile.h"
#include "tools/ToolLocator.h"

#include <QByteArrayList>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace RestoreHandOver {
namespace {

// NUL-terminated pointers into `storage`, as execve wants them.
std::vector<char *> pointerList(QByteArrayList &storage)
{
    std::vector<char *> pointers;
    for (QByteArray &item : storage)
        pointers.push_back(item.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

QStringList arguments(const CompanionCommand::Restore &restore, const QString &cachePath,
                      const QString &logFile)
{
    QStringList arguments{QStringLiteral("--ecid"),
                          restore.ecid,
                          QStringLiteral("--erase"),
                          QStringLiteral("--plain-progress"),
                          QStringLiteral("--cache-path"),
                          cachePath,
                          QStringLiteral("--logfile=") + logFile};
    arguments << restore.imagePath.value_or(QStringLiteral("--latest"));
    return arguments;
}

int exec(const CompanionCommand::Restore &restore)
{
    const QString tool = SiblingTools::path(QStringLiteral("idevicerestore"));
    QByteArrayList argv{tool.toLocal8Bit()};
    for (const QString &argument :
         arguments(restore, ToolLocator::cacheDirectory(), RestoreLogFile::pathForNow()))
        argv << argument.toLocal8Bit();
    QByteArrayList environment;
    for (const QString &entry : SiblingTools::environment().toStringList())
        environment << entry.toLocal8Bit();

    std::fflush(stdout);
    std::fflush(stderr);
    ::execve(argv.constFirst().constData(), pointerList(argv).data(), pointerList(environment).data());

    const int error = errno;
    std::fprintf(stderr, "cfgutil: cannot run %s: %s\n", argv.constFirst().constData(), std::strerror(error));
    return error == ENOENT ? 127 : 126;
}

} // namespace RestoreHandOver
