#include "ui/StudioBrandIcon.h"

#include "ui/BrandPicture.h"
#include "ui/Icons.h"
#include "ui/Theme.h"

#include <QPainter>
#include <QPainterPath>

namespace {
constexpr int fallbackGlyphSize = 21;
} // namespace

StudioBrandIcon::StudioBrandIcon(int size, QWidget *parent) : QWidget(parent), m_side(size)
{
    setAccessibleName(QStringLiteral("Corvalin Studio"));
    setFixedSize(size, size);
    loadImage();
}

StudioBrandIcon::~StudioBrandIcon() = default;

QSize StudioBrandIcon::sizeHint() const
{
    return {m_side, m_side};
}

// A missing or unreadable picture is not an error: the fallback is drawn instead.
void StudioBrandIcon::loadImage()
{
    m_image = QImage();
    if (const QString picture = BrandPicture::filePath(); !picture.isEmpty())
        m_image.load(picture);
}

void StudioBrandIcon::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF square((width() - m_side) / 2.0, (height() - m_side) / 2.0, m_side, m_side);
    QPainterPath clip;
    clip.addRoundedRect(square, Theme::Metrics::brandIconRadius, Theme::Metrics::brandIconRadius);
    painter.setClipPath(clip);

    if (!m_image.isNull()) {
        // Fill the square and crop whatever overflows.
        const QSizeF filled = QSizeF(m_image.size()).scaled(square.size(), Qt::KeepAspectRatioByExpanding);
        const QRectF target(square.center().x() - filled.width() / 2,
                            square.center().y() - filled.height() / 2, filled.width(), filled.height());
        painter.drawImage(target, m_image);
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
