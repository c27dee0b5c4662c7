#include "ui/StudioBrandIcon.h"

#include "ui/BrandPicture.h"
#include "ui/Icons.h"
#include "ui/Theme.h"

#include <QBackingStore>
#include <QPaintEngine>
#include <QPainter>
#include <QPainterPath>
#include <QTimer>
#include <QtConcurrent>

#include <cmath>

namespace {
constexpr int fallbackGlyphSize = 21;
} // namespace

StudioBrandIcon::StudioBrandIcon(int size, QWidget *parent)
    : QWidget(parent), m_side(size), m_picture(BrandPicture::filePath())
{
    setAccessibleName(QStringLiteral("Corvalin Studio"));
    setFixedSize(size, size);
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

// The picture is large: it is decoded straight to the pixels the square covers on the sharpest
// screen, so painting only copies it. A missing or unreadable picture is not an error: the
// fallback is drawn instead.
void StudioBrandIcon::startLoading(qreal dpr) const
{
    m_requestedRatio = dpr;
    m_loadScheduled = false;
    if (m_picture.isEmpty())
        return;
    const int pixels = int(std::ceil(m_side * dpr));
    m_loading = QtConcurrent::run(
        [picture = m_picture, pixels] { return BrandPicture::readReduced(picture, pixels); });
}

// Decoding takes longer than painting the whole window does, so the window's first frame shows
// the tile's gradient where the owl goes, and the owl follows as soon as it is decoded.
void StudioBrandIcon::loadAfterThisFrame(qreal dpr)
{
    m_requestedRatio = dpr;
    m_loadScheduled = true;
    QTimer::singleShot(0, this, [this, dpr] {
        // A render that could not wait may have started it already, or even taken it.
        if (m_loadScheduled)
            startLoading(dpr);
        if (m_loading.isValid())
            m_loading.then(this, [this](const QImage &) { update(); });
        else
            update();
    });
}

const QImage &StudioBrandIcon::image() const
{
    if (m_requestedRatio == 0)
        startLoading(devicePixelRatioF());
    else if (m_loadScheduled)
        startLoading(m_requestedRatio);
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
    const qreal ratio = target->devicePixelRatioF();
    const bool onScreen = backingStore() && target == backingStore()->paintDevice();
    if (ratio > m_requestedRatio && !m_picture.isEmpty()) {
        if (onScreen)
            loadAfterThisFrame(ratio);
        else
            startLoading(ratio);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF square((width() - m_side) / 2.0, (height() - m_side) / 2.0, m_side, m_side);
    QPainterPath clip;
    clip.addRoundedRect(square, Theme::Metrics::brandIconRadius, Theme::Metrics::brandIconRadius);
    painter.setClipPath(clip);

    QLinearGradient gradient(square.topLeft(), square.bottomRight());
    gradient.setColorAt(0, Theme::studioAccent());
    gradient.setColorAt(1, Theme::studioAccentDeep());
    // On screen nothing waits for the decoding: until it is done, the picture drawn before (or
    // the bare tile, the picture's own background) stands in.
    const bool decoding = m_loadScheduled || (m_loading.isValid() && !m_loading.isFinished());
    const QImage &picture = onScreen && decoding ? m_image : image();
    if (!picture.isNull()) {
        // Fill the square and crop whatever overflows.
        const QSizeF filled = QSizeF(picture.size()).scaled(square.size(), Qt::KeepAspectRatioByExpanding);
        const QRectF placed(square.center().x() - filled.width() / 2,
                            square.center().y() - filled.height() / 2, filled.width(), filled.height());
        painter.drawImage(placed, picture);
        return;
    }
    painter.fillRect(square, gradient);
    if (onScreen && decoding)
        return;
    const int box = Theme::Metrics::symbolBox(fallbackGlyphSize);
    const QRectF glyph(square.center().x() - box / 2.0, square.center().y() - box / 2.0, box, box);
    Icons::paint(&painter, glyph, QStringLiteral("applewatch"), Theme::white());
}
