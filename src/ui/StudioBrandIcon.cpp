#include "ui/StudioBrandIcon.h"

#include "ui/BrandPicture.h"
#include "ui/Icons.h"
#include "ui/Theme.h"

#include <QGuiApplication>
#include <QImageReader>
#include <QPaintEngine>
#include <QPainter>
#include <QPainterPath>
#include <QtConcurrent>

#include <cmath>

namespace {
constexpr int fallbackGlyphSize = 21;
} // namespace

StudioBrandIcon::StudioBrandIcon(int size, QWidget *parent) : QWidget(parent), m_side(size)
{
    setAccessibleName(QStringLiteral("Corvalin Studio"));
    setFixedSize(size, size);
    loadImage(qApp ? qApp->devicePixelRatio() : 1.0);
}

StudioBrandIcon::~StudioBrandIcon() = default;

QSize StudioBrandIcon::sizeHint() const
{
    return {m_side, m_side};
}

bool StudioBrandIcon::showsBundleImage() const
{
    return !image().isNull();
}

// The picture is large: it is decoded once, on a worker while the window is still being built,
// straight to the pixels the square covers on the sharpest screen, so painting only copies it.
// A missing or unreadable picture is not an error: the fallback is drawn instead.
void StudioBrandIcon::loadImage(qreal dpr)
{
    m_decodedRatio = dpr;
    const QString picture = BrandPicture::filePath();
    if (picture.isEmpty())
        return;
    const int pixels = int(std::ceil(m_side * dpr));
    m_loading = QtConcurrent::run([picture, pixels] {
        QImageReader reader(picture);
        const QSize stored = reader.size();
        if (stored.isEmpty())
            return QImage();
        reader.setScaledSize(
            stored.scaled(QSize(pixels, pixels), Qt::KeepAspectRatioByExpanding).boundedTo(stored));
        return reader.read();
    });
}

const QImage &StudioBrandIcon::image() const
{
    if (m_loading.isValid()) {
        m_image = m_loading.result();
        m_loading = {};
    }
    return m_image;
}

void StudioBrandIcon::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    // Drawn sharper than any screen when rendered into a larger image: decoded again for it.
    const QPaintDevice *target = painter.paintEngine() ? painter.paintEngine()->paintDevice() : this;
    if (target->devicePixelRatioF() > m_decodedRatio && showsBundleImage())
        loadImage(target->devicePixelRatioF());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF square((width() - m_side) / 2.0, (height() - m_side) / 2.0, m_side, m_side);
    QPainterPath clip;
    clip.addRoundedRect(square, Theme::Metrics::brandIconRadius, Theme::Metrics::brandIconRadius);
    painter.setClipPath(clip);

    if (const QImage &picture = image(); !picture.isNull()) {
        // Fill the square and crop whatever overflows.
        const QSizeF filled = QSizeF(picture.size()).scaled(square.size(), Qt::KeepAspectRatioByExpanding);
        const QRectF target(square.center().x() - filled.width() / 2,
                            square.center().y() - filled.height() / 2, filled.width(), filled.height());
        painter.drawImage(target, picture);
        return;
    }

    QLinearGradient gradient(square.topLeft(), square.bottomRight());
    gradient.setColorAt(0, Theme::studioAccent());
    gradient.setColorAt(1, Theme::studioAccentDeep());
    painter.fillRect(square, gradient);
    const int box = Theme::Metrics::symbolBox(fallbackGlyphSize);
    const QRectF glyph(square.center().x() - box / 2.0, square.center().y() - box / 2.0, box, box);
    Icons::paint(&painter, glyph, QStringLiteral("applewatch"), Theme::white());
}
