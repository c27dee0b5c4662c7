#pragma once

#include <QIcon>
#include <QString>

// The bundled owl picture, rendered from the drawing while building and kept in the
// application's resource folder.
namespace BrandPicture {

// Where the picture is expected; empty when the platform reports no resource folder.
QString filePath();
// The icon of the desktop entry when the icon theme has it (an installed application),
// otherwise the bundled picture; a null icon when neither exists.
QIcon windowIcon();

} // namespace BrandPicture
