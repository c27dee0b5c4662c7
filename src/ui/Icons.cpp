#include "ui/Icons.h"

#include <QHash>
#include <QIconEngine>
#include <QImage>
#include <QPaintEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <cmath>
#include <memory>

namespace Icons {

namespace {

// SF Symbols name -> glyph of the Tabler icon set (":/icons/<outline|filled>/<name>.svg").
// Filled names take the set's filled glyph where it has one.
const QHash<QString, QString> &table()
{
    static const QHash<QString, QString> glyphs{
        {QStringLiteral("applewatch"), QStringLiteral("outline/device-watch")},
        {QStringLiteral("applewatch.radiowaves.left.and.right"),
         QStringLiteral("composed/device-watch-radiowaves")},
        {QStringLiteral("arrow.clockwise"), QStringLiteral("outline/refresh")},
        {QStringLiteral("arrow.down.circle.fill"), QStringLiteral("filled/circle-arrow-down")},
        {QStringLiteral("arrow.down.to.line"), QStringLiteral("outline/arrow-bar-to-down")},
        {QStringLiteral("arrow.right"), QStringLiteral("outline/arrow-right")},
        {QStringLiteral("arrow.up.right"), QStringLiteral("outline/arrow-up-right")},
        {QStringLiteral("bolt.fill"), QStringLiteral("filled/bolt")},
        {QStringLiteral("cable.connector.slash"), QStringLiteral("outline/plug-connected-x")},
        {QStringLiteral("checkmark.circle.fill"), QStringLiteral("filled/circle-check")},
        {QStringLiteral("checkmark.seal.fill"), QStringLiteral("filled/rosette-discount-check")},
        {QStringLiteral("checkmark.shield.fill"), QStringLiteral("filled/shield-check")},
        {QStringLiteral("chevron.right"), QStringLiteral("outline/chevron-right")},
        {QStringLiteral("circle"), QStringLiteral("outline/circle")},
        {QStringLiteral("doc.badge.plus"), QStringLiteral("outline/file-plus")},
        {QStringLiteral("doc.on.doc"), QStringLiteral("outline/copy")},
        {QStringLiteral("doc.zipper"), QStringLiteral("outline/file-zip")},
        {QStringLiteral("exclamationmark.circle.fill"), QStringLiteral("filled/exclamation-circle")},
        {QStringLiteral("exclamationmark.shield.fill"), QStringLiteral("composed/shield-exclamation-filled")},
        {QStringLiteral("exclamationmark.triangle.fill"), QStringLiteral("filled/alert-triangle")},
        {QStringLiteral("folder"), QStringLiteral("outline/folder")},
        {QStringLiteral("info.circle.fill"), QStringLiteral("filled/info-circle")},
        {QStringLiteral("lock.open.fill"), QStringLiteral("outline/lock-open")},
        {QStringLiteral("magnifyingglass"), QStringLiteral("outline/search")},
        {QStringLiteral("paperplane.fill"), QStringLiteral("filled/send")},
        {QStringLiteral("shippingbox.fill"), QStringLiteral("outline/package")},
        {QStringLiteral("square.and.arrow.down"), QStringLiteral("outline/download")},
        {QStringLiteral("square.grid.2x2"), QStringLiteral("outline/layout-grid")},
        {QStringLiteral("text.alignleft"), QStringLiteral("outline/align-left")},
        {QStringLiteral("wrench.and.screwdriver.fill"), QStringLiteral("bootstrap/tools")},
        {QStringLiteral("xmark.circle.fill"), QStringLiteral("filled/circle-x")},
    };
    return glyphs;
}

QSvgRenderer *renderer(const QString &sfName)
{
    // Parsed once per glyph; the renderers live for the process like the resources.
    static QHash<QString, std::shared_ptr<QSvgRenderer>> cache;
    const auto found = table().constFind(sfName);
    if (found == table().constEnd())
        return nullptr;
    auto &slot = cache[sfName];
    if (!slot)
        slot = std::make_shared<QSvgRenderer>(QStringLiteral(":/icons/%1.svg").arg(*found));
    return slot->isValid() ? slot.get() : nullptr;
}

// The glyph drawn black into a transparent image, then recoloured: the set's own colour
// (currentColor) is never relied on.
QImage tintedImage(const QString &sfName, const QColor &tint, QSize pixels)
{
    QSvgRenderer *svg = renderer(sfName);
    if (!svg || pixels.isEmpty())
        return {};
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    svg->render(&painter, QRectF(QPointF(0, 0), QSizeF(pixels)));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), tint);
    painter.end();
    return image;
}

class TintedIconEngine final : public QIconEngine {
public:
    TintedIconEngine(QString sfName, QColor tint) : m_name(std::move(sfName)), m_tint(tint) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode, QIcon::State) override
    {
        Icons::paint(painter, rect, m_name, m_tint);
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode, QIcon::State) override
    {
        return Icons::pixmap(m_name, m_tint, size, 1.0);
    }
    QPixmap scaledPixmap(const QSize &size, QIcon::Mode, QIcon::State, qreal scale) override
    {
        return Icons::pixmap(m_name, m_tint, size, scale);
    }
    QIconEngine *clone() const override { return new TintedIconEngine(m_name, m_tint); }
    QString key() const override { return QStringLiteral("corvalin-tinted"); }
    bool isNull() override { return !Icons::has(m_name); }

private:
    QString m_name;
    QColor m_tint;
};

} // namespace

bool has(const QString &sfName)
{
    return renderer(sfName) != nullptr;
}

QIcon icon(const QString &sfName, const QColor &tint)
{
    return QIcon(new TintedIconEngine(sfName, tint));
}

// Rasterised glyphs are cached: list rows and cards repaint their symbols on every refresh.
QPixmap pixmap(const QString &sfName, const QColor &tint, QSize logical, qreal dpr)
{
    const QSize pixels(int(std::ceil(logical.width() * dpr)), int(std::ceil(logical.height() * dpr)));
    const QString key = QStringLiteral("corvalin-icon/%1/%2/%3x%4/%5")
                            .arg(sfName)
                            .arg(tint.rgba(), 8, 16, QLatin1Char('0'))
                            .arg(pixels.width())
                            .arg(pixels.height())
                            .arg(dpr);
    QPixmap result;
    if (QPixmapCache::find(key, &result))
        return result;
    const QImage image = tintedImage(sfName, tint, pixels);
    if (image.isNull())
        return {};
    result = QPixmap::fromImage(image);
    result.setDevicePixelRatio(dpr);
    QPixmapCache::insert(key, result);
    return result;
}

void paint(QPainter *painter, const QRectF &rect, const QString &sfName, const QColor &tint)
{
    const qreal side = std::min(rect.width(), rect.height());
    if (side <= 0)
        return;
    const QRectF square(rect.center().x() - side / 2, rect.center().y() - side / 2, side, side);
    // While a widget is rendered into an image, the engine's device is the image that
    // receives the pixels: its ratio is the one that keeps the glyph crisp.
    const QPaintDevice *target =
        painter->paintEngine() ? painter->paintEngine()->paintDevice() : painter->device();
    const qreal dpr = target ? target->devicePixelRatioF() : 1.0;
    const qreal scale = std::max<qreal>(1.0, painter->transform().m11());
    const int logical = int(std::ceil(side));
    const QPixmap glyph = pixmap(sfName, tint, QSize(logical, logical), dpr * scale);
    if (glyph.isNull())
        return;
    painter->save();
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawPixmap(square, glyph, QRectF(glyph.rect()));
    painter->restore();
}

} // namespace Icons
