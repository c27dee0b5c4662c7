#pragma once

#include <QString>
#include <QUrl>

// The one rule for the names images are kept under in the cache folder. A name comes from a
// download link, which the catalogue's community edits; only a plain file name may ever reach
// the file system, so nothing lands outside the cache and no image replaces another's.
namespace CacheFileName {

// The link's last path component, percent-decoded; trailing slashes do not end it, and a path
// of slashes alone gives "/". Not necessarily a plain name: check with isPlain.
QString fromURL(const QUrl &url);

// A name that names a file directly inside a folder: not empty, not "." or "..", without "/"
// or NUL, not taken by Qt's file APIs for a resource path (a leading ":"), and no longer than
// the 255 bytes a file name may have on the platforms' file systems.
bool isPlain(const QString &name);

} // namespace CacheFileName
