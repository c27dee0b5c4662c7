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
// sent to the server, so the full picture would cost megabytes for a title bar. Largest first:
// each smaller size is reduced from the one before.
constexpr int iconSides[] = {256, 128, 64, 48, 32, 16};

// The picture reduced once to the sizes a window icon is shown at; null when it cannot be read.
QIcon reducedIcon(const QString &picture)
{
    QImage reduced = readReduced(picture, iconSides[0]);
    if (reduced.isNull())
        return {};
    QIcon icon;
    for (const int side : iconSides) {
        reduced = reduced.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        icon.addPixmap(QPixmap::fromImage(reduced));
    }
    return icon;
}
} // namespace

QString filePath()
{
    if (const auto folder = SystemPaths::resourceFolder())
        return QDir(*folder).filePath(fileName);
    return {};
}

QImage readReduced(const QString &picture, int pixels)
{
    // The picture is always a PNG: naming the format spares loading every image plugin to ask.
    QImageReader reader(picture, "png");
    reader.setAutoDetectImageFormat(false);
    const QSize stored = reader.size();
    if (stored.isEmpty())
        return {};
    // The decoder reduces row by row while it reads.
    reader.setScaledSize(
        stored.scaled(QSize(pixels, pixels), Qt::KeepAspectRatioByExpanding).boundedTo(stored));
    return reader.read();
}

QIcon windowIcon()
{
    const QString picture = filePath();
    if (QIcon::hasThemeIcon(desktopIconName))
        return QIcon::fromTheme(desktopIconName);
    return !picture.isEmpty() && QFileInfo::exists(picture) ? reducedIcon(picture) : QIcon();
}

} // namespace BrandPicture
