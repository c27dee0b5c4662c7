#pragma once

#include <QString>

// What the cache folder holds under an image's name, looked at without following symbolic
// links. The cache lives in the user's own folder, where anything may have been put.
namespace CacheEntry {

enum class Kind {
    absent,
    file,
    // A symbolic link is never taken for an image: reading it would read whatever it points at.
    symbolicLink,
    // A folder or a device: not an image, and nothing replaces it.
    other,
    // Only a name that differs in letter case is there. A case-insensitive file system (the
    // macOS default) takes both for one file, so it is another link's image, never this one's.
    caseTwin,
};

Kind inspect(const QString &folder, const QString &name);
// The name under which the case twin of `name` is stored; empty when there is none.
QString caseTwinOf(const QString &folder, const QString &name);

// The Russian explanation shown when a download meets such an entry.
QString symbolicLinkRefusal(const QString &name);
QString caseTwinRefusal(const QString &name, const QString &twin);

} // namespace CacheEntry
