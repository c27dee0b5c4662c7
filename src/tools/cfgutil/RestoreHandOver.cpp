#include "RestoreHandOver.h"

#include "SiblingTools.h"
#include "restore/RestoreLogFile.h"
#include "restore/RestoreManager.h"
#include "tools/CStringList.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace RestoreHandOver {

namespace {

// The watch chosen by its ECID, then the application's own Recovery/DFU restore arguments:
// erased, one progress line per step, and the cache and log locations in the application's
// folders (without them idevicerestore writes its log file, the signing list and a downloaded
// image into whatever folder it was started in). Without an image, --latest lets idevicerestore
// pick the newest signed firmware (it does not ask when its output is not a terminal).
QStringList arguments(const CompanionCommand::Restore &restore, const QString &logFile)
{
    return QStringList{QStringLiteral("--ecid"), restore.ecid} +
           RestoreManager::restoreToolArguments(logFile,
                                                restore.imagePath.value_or(QStringLiteral("--latest")));
}

} // namespace

int exec(const CompanionCommand::Restore &restore)
{
    const QString tool = SiblingTools::path(QStringLiteral("idevicerestore"));
    CStringList argv =
        CStringList::fromLocal8Bit(arguments(restore, RestoreLogFile::pathForNow()), {tool.toLocal8Bit()});
    CStringList environment = CStringList::fromLocal8Bit(SiblingTools::environment().toStringList());

    std::fflush(stdout);
    std::fflush(stderr);
    ::execve(argv.first(), argv.data(), environment.data());

    const int error = errno;
    std::fprintf(stderr, "cfgutil: cannot run %s: %s\n", argv.first(), std::strerror(error));
    return error == ENOENT ? 127 : 126;
}

} // namespace RestoreHandOver
