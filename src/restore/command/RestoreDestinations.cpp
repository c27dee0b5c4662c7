#include "restore/command/RestoreDestinations.h"

#include "restore/command/RestoreLogFile.h"
#include "tools/ToolLocator.h"

namespace {

const QString logFileVariable = QStringLiteral("CORVALIN_RESTORE_LOG_FILE");
const QString cacheVariable = QStringLiteral("CORVALIN_RESTORE_CACHE_DIRECTORY");

} // namespace

RestoreDestinations RestoreDestinations::forNow()
{
    return {RestoreLogFile::pathForNow(), ToolLocator::cacheDirectory()};
}

std::optional<RestoreDestinations> RestoreDestinations::handedDown(const QProcessEnvironment &environment)
{
    const QString logFile = environment.value(logFileVariable);
    const QString cacheDirectory = environment.value(cacheVariable);
    if (logFile.isEmpty() || cacheDirectory.isEmpty())
        return std::nullopt;
    return RestoreDestinations{logFile, cacheDirectory};
}

void RestoreDestinations::handDown(QProcessEnvironment &environment) const
{
    environment.insert(logFileVariable, logFile);
    environment.insert(cacheVariable, cacheDirectory);
}
