#pragma once

#include <QIcon>
#include <QImage>
#include <QString>

// The bundled owl picture, rendered from the drawing while building and kept in the
// application's resource folder.
namespace BrandPicture {

// Where the picture is expected; empty when the platform reports no resource folder.
QString filePath();
// The picture at `picture` decoded straight to at least `pixels` on its shorter side (never
// larger than it is stored), so the full-size pixels are never held; null when it is missing
// or unreadable.
QImage readReduced(const QString &picture, int pixels);
// The icon of the desktop entry when the icon theme has it (an installed application),
// otherwise the bundled picture; a null icon when neither exists.
QIcon windowIcon();

} // namespace BrandPicture
