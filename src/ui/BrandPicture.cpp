#include "ui/BrandPicture.h"

#include "tools/SystemPaths.h"

#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QPixmap>

namespace BrandPicture {

namespace {
const QString fileName = QStringLiteral("CorvalinStudio-Owl-1024.png");
// The name under which the desktop entry and the icon theme know the application.
const QString desktopIconName = QStringLiteral("ru.corvalin.Studio");
// Window systems show a window's icon at most this large; on X11 every size an icon holds is
// sent to the server, so the full picture would cost megabytes for a title bar.
constexpr int iconSides[] = {16, 32, 48, 64, 128, 256};

// The picture reduced once to the sizes a window icon is shown at; null when it cannot be read.
QIcon reducedIcon(const QString &picture)
{
    QImage full = QImageReader(picture).read();
    if (full.isNull())
        return {};
    QIcon icon;
    for (const int side : iconSides)
        icon.addPixmap(
            QPixmap::fromImage(full.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    return icon;
}
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
    if (QIcon::hasThemeIcon(desktopIconName))
        return QIcon::fromTheme(desktopIconName);
    return !picture.isEmpty() && QFileInfo::exists(picture) ? reducedIcon(picture) : QIcon();
}

} // namespace BrandPicture
