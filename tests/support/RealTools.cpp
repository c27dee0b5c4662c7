#include "support/RealTools.h"

#include "support/TestPaths.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace RealTools {

QString folder()
{
    return QStringLiteral(CORVALIN_TOOLS_DIR);
}

const char *unavailableMessage()
{
    return "This build has no Tools folder (CORVALIN_TOOLS_DIR is empty), so the tests against the "
           "real irecovery and idevicerestore are skipped; scripts/dev builds the folder and passes it.";
}

bool installInto(const TestPaths &paths)
{
    const QDir source(folder());
    if (folder().isEmpty() || !source.exists())
        return false;
    // A copy, not the built folder itself: the tools must also run from where the locator finds them.
    QDirIterator files(source.path(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        const QString target = paths.tool(source.relativeFilePath(file));
        QDir().mkpath(QFileInfo(target).path());
        QFile::remove(target);
        if (!QFile::copy(file, target))
            return false;
    }
    return true;
}

} // namespace RealTools
