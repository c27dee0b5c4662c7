#pragma once

#include "app/records/Failure.h"

#include <QString>
#include <QtGlobal>

#include <optional>

// Whether what is still to be received fits on the volume it will be written to.
namespace FreeSpace {

// Kept free beyond the image itself, for the file system's own bookkeeping and whatever
// else writes to the volume meanwhile.
constexpr qint64 margin = 100 * 1000 * 1000;

// Bytes available to the user on the volume holding `folder`; -1 when unknown.
qint64 available(const QString &folder);

// A failure naming both figures when `stillToReceive` plus the margin does not fit;
// nothing when it fits or when either figure is unknown.
std::optional<Failure> check(const QString &folder, qint64 stillToReceive);
// The same for an image of `bytes` that is to be copied into the firmware folder `folder`.
std::optional<QString> checkCache(const QString &folder, qint64 bytes);
// Whether both folders are on one volume, so that a file moves between them by a rename.
bool sameVolume(const QString &first, const QString &second);

// "3,5 ГБ", "700 МБ": decimal units, as the system's own file browsers show sizes.
QString describe(qint64 bytes);

namespace Testing {
// Pretends every volume has this much free space (nothing: ask the volumes again, and forget
// the folders below).
void setAvailable(std::optional<qint64> bytes);
// Pretends the volume of this one folder has this much free space.
void setAvailableIn(const QString &folder, qint64 bytes);
} // namespace Testing

} // namespace FreeSpace
