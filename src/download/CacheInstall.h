#pragma once

#include <QFuture>
#include <QString>

#include <optional>

// Puts a finished download into the firmware folder under its final name. The folder may be
// on another volume than the partial data (a USB disk, a network share), where a move is a
// copy of gigabytes: that copy runs on a worker thread, into a temporary name beside the
// image, and only a complete copy is renamed to the final name. The partial data stays where
// it is until the image is in place, so a failure costs no download.
namespace CacheInstall {

// Moves `partialPath` to `destination`, replacing whatever file is there; `temporaryName` is
// the hidden name a copy is made under in the destination's folder. Blocks: call it off the
// GUI thread. On failure, the Russian description of what went wrong.
std::optional<QString> move(const QString &partialPath, const QString &destination,
                            const QString &temporaryName);

// The same on a worker thread of the global pool.
QFuture<std::optional<QString>> moveInBackground(const QString &partialPath, const QString &destination,
                                                 const QString &temporaryName);

} // namespace CacheInstall
