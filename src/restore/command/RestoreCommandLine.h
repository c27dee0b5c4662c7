#pragma once

#include "restore/command/RestoreDestinations.h"

#include <QString>
#include <QStringList>

namespace RestoreCommandLine {

// idevicerestore's arguments for a Recovery/DFU restore: erased, one progress line per step, and
// the cache and log locations of this restore. The KIS companion on Linux gives idevicerestore
// the same after the watch's ECID.
QStringList recoveryArguments(const RestoreDestinations &destinations, const QString &imagePath);

} // namespace RestoreCommandLine
