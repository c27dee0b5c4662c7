#pragma once

#include <QString>
#include <QUrl>

// The one rule for the names images are kept under in the cache folder, shared by the
// catalogue and the download. A name comes from a download link, which the catalogue's
// community edits; only a plain file name may ever reach the file system, so nothing lands
// outside the cache, and two different links never get the same name.
namespace CacheFileName {

// The longest suffix the application adds to an image's name (a rejected image is kept
// beside it as NAME.invalid), so a plain name leaves room for it within the 255 bytes a file
// name may have.
inline constexpr qsizetype suffixRoom = 8;

// The link's last path component as it stands in the link: percent escapes stay escaped
// (so an escaped "/" is never a separator and bytes that are not UTF-8 never merge into one
// replacement character), except those of letters, digits and "-._~", which name the same
// resource either way; escape digits are upper-case. The name is therefore ASCII, and two
// names differ whenever their links' components do. A link ending in "/" has an empty last
// component. Not necessarily a plain name: check with isPlain.
QString fromURL(const QUrl &url);

// A name that names a file directly inside a folder: not empty, not "." or "..", without "/"
// or NUL, not taken by Qt's file APIs for a resource path (a leading ":"), and short enough
// that the suffixes above still fit in a file name.
bool isPlain(const QString &name);

} // namespace CacheFileName
