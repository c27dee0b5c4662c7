#pragma once

#include "CompanionCommand.h"

#include <QString>
#include <QStringList>

// Hands a KIS restore over to the real idevicerestore beside this tool. The process is replaced
// by idevicerestore, not made its parent: the output then reaches the application's log as the
// tool writes it, the exit status is the tool's own, and the interrupt the application's stop
// button sends to this process is received by idevicerestore, which cleans up before it exits.
namespace RestoreHandOver {

// The watch chosen by its ECID, erased, with one progress line per step. Without an image,
// --latest lets idevicerestore pick the newest signed firmware itself (it does not ask when
// its output is not a terminal, as under the application).
//
// The cache and log locations are the application's own folders, as for its Recovery/DFU
// restores: without them idevicerestore writes its log file, the signing list and a
// downloaded image into whatever folder it was started in.
QStringList arguments(const CompanionCommand::Restore &restore, const QString &cachePath,
                      const QString &logFile);

// Replaces this process; returns only when idevicerestore could not be run, with the exit
// status to end with (127: not there, 126: not runnable), after saying why on standard error.
int exec(const CompanionCommand::Restore &restore);

} // namespace RestoreHandOver
