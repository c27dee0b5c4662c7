#include "ui/BrandPicture.h"

#include "tools/SystemPaths.h"

#include <QDir>
#include <QFileInfo>

namespace BrandPicture {

namespace {
const QString fileName = QStringLiteral("CorvalinStudio-Owl-1024.png");
// The name under which the desktop entry and the icon theme know the application.
const QString desktopIconName = QStringLiteral("ru.corvalin.Studio");
} // namespace

QString filePath()
{
    if (const auto folder = SystemPaths::resourceFolder())
        return QDir(*folder).filePath(fileName);
    return {};
}

QIcon windowIcon()
{
    const QString picture = filePath();
    const QIcon bundled = !picture.isEmpty() && QFileInfo::exists(picture) ? QIcon(picture) : QIcon();
    return QIcon::fromTheme(desktopIconName, bundled);
}

} // namespace BrandPicture
