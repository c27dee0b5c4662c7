#include "ui/BrandPicture.h"

#include "tools/SystemPaths.h"

#include <QDir>
#include <QFileInfo>
#include <QIconEngine>
#include <QImageReader>
#include <QPainter>
#include <QPixmap>

#include <algorithm>

namespace BrandPicture {

namespace {
const QString fileName = QStringLiteral("CorvalinStudio-Owl-1024.png");
// The name under which the desktop entry and the icon theme know the application.
const QString desktopIconName = QStringLiteral("ru.corvalin.Studio");
// Window systems show a window's icon at most this large; on X11 every size an icon holds is
// sent to the server, so the full picture would cost megabytes for a title bar. Largest first:
// each smaller size is reduced from the one before.
constexpr int iconSides[] = {256, 128, 64, 48, 32, 16};
// Sizes above this are handed to the window system when a window is framed and never drawn by
// the application itself, so they are not kept: read again from the picture when asked for.
constexpr int largestKeptSide = 128;

class BrandIconEngine final : public QIconEngine {
public:
    BrandIconEngine(QString picture, QIcon kept) : m_picture(std::move(picture)), m_kept(std::move(kept)) {}

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        if (std::max(size.width(), size.height()) <= largestKeptSide)
            return m_kept.pixmap(size, mode, state);
        const int side = std::min(size.width(), size.height());
        return QPixmap::fromImage(
            readReduced(m_picture, side).scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        painter->drawPixmap(rect, pixmap(rect.size(), mode, state));
    }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        QList<QSize> sizes;
        for (const int side : iconSides)
            sizes << QSize(side, side);
        return sizes;
    }

    QIconEngine *clone() const override { return new BrandIconEngine(m_picture, m_kept); }
    QString key() const override { return QStringLiteral("CorvalinBrand"); }

private:
    QString m_picture;
    QIcon m_kept;
};

// The picture reduced once to the sizes a window icon is shown at; null when it cannot be read.
QIcon reducedIcon(const QString &picture)
{
    QImage reduced = readReduced(picture, iconSides[0]);
    if (reduced.isNull())
        return {};
    QIcon kept;
    for (const int side : iconSides) {
        reduced = reduced.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        if (side <= largestKeptSide)
            kept.addPixmap(QPixmap::fromImage(reduced));
    }
    return QIcon(new BrandIconEngine(picture, kept));
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
