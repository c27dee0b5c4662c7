#include "companion/RestoreHandOver.h"

#include "companion/SiblingTools.h"
#include "restore/command/RestoreCommandLine.h"
#include "restore/command/RestoreDestinations.h"
#include "tools/CStringList.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace RestoreHandOver {

namespace {

// The watch chosen by its ECID, then the application's own Recovery/DFU restore arguments:
// erased, one progress line per step, and the cache and log locations the application handed
// down (without them idevicerestore writes its log file, the signing list and a downloaded image
// into whatever folder it was started in). Without an image, --latest lets idevicerestore pick
// the newest signed firmware (it does not ask when its output is not a terminal).
QStringList arguments(const CompanionCommand::Restore &restore, const RestoreDestinations &destinations)
{
    return QStringList{QStringLiteral("--ecid"), restore.ecid} +
           RestoreCommandLine::recoveryArguments(destinations,
                                                 restore.imagePath.value_or(QStringLiteral("--latest")));
}

// Run by hand, the companion finds the application's folders itself.
RestoreDestinations destinations(const QProcessEnvironment &environment)
{
    return RestoreDestinations::handedDown(environment).value_or(RestoreDestinations::forNow());
}

} // namespace

int exec(const CompanionCommand::Restore &restore)
{
    const QString tool = SiblingTools::path(QStringLiteral("idevicerestore"));
    const QProcessEnvironment toolEnvironment = SiblingTools::environment();
    CStringList argv =
        CStringList::fromLocal8Bit(arguments(restore, destinations(toolEnvironment)), {tool.toLocal8Bit()});
    CStringList environment = CStringList::fromLocal8Bit(toolEnvironment.toStringList());

    std::fflush(stdout);
    std::fflush(stderr);
    ::execve(argv.first(), argv.data(), environment.data());

    const int error = errno;
    std::fprintf(stderr, "cfgutil: cannot run %s: %s\n", argv.first(), std::strerror(error));
    return error == ENOENT ? 127 : 126;
}

} // namespace RestoreHandOver
