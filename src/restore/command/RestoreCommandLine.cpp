#include "restore/command/RestoreCommandLine.h"

namespace RestoreCommandLine {

QStringList recoveryArguments(const RestoreDestinations &destinations, const QString &imagePath)
{
    return {QStringLiteral("--erase"),
            QStringLiteral("--plain-progress"),
            QStringLiteral("--cache-path"),
            destinations.cacheDirectory,
            QStringLiteral("--logfile=") + destinations.logFile,
            imagePath};
}

} // namespace RestoreCommandLine
