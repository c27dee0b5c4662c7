#include "restore/command/RestoreLogFile.h"

#include "tools/ToolLocator.h"

#include <QDir>

namespace RestoreLogFile {

QString fileName(const QDateTime &time)
{
    // Whole seconds: Qt::ISODate leaves out milliseconds and writes UTC as "Z".
    QString stamp = time.toUTC().toString(Qt::ISODate);
    stamp.replace(u':', u'-');
    return QStringLiteral("restore-") + stamp + QStringLiteral(".log");
}

QString pathForNow()
{
    return QDir(ToolLocator::logsDirectory()).filePath(fileName(QDateTime::currentDateTimeUtc()));
}

} // namespace RestoreLogFile
