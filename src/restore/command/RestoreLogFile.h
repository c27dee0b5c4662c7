#pragma once

#include <QDateTime>
#include <QString>

// The file the restore tool writes its own log into, one per launch.
namespace RestoreLogFile {

// "restore-" + the ISO 8601 UTC time + ".log", with every colon turned into "-" so that the
// name is valid on every file system and in the Finder: restore-2026-11-16T09-47-13Z.log.
QString fileName(const QDateTime &time);

// A location in the logs folder named after the current time.
QString pathForNow();

} // namespace RestoreLogFile
