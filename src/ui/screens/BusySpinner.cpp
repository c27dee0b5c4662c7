#include "ui/screens/BusySpinner.h"

#include "ui/Theme.h"

#include <QAccessibleWidget>
#include <QImage>
#include <QPainter>
#include <QTimerEvent>

#include <algorithm>
#include <cmath>

namespace {

// Assistive tools hear a spinner as a progress indicator, named after what it waits for.
QAccessibleInterface *spinnerFactory(const QString &className, QObject *object)
{
    if (className == QLatin1StringView("BusySpinner") && object && object->isWidgetType())
        return new QAccessibleWidget(static_cast<QWidget *>(object), QAccessible::ProgressBar);
    return nullptr;
}

constexpr int spokes = BusySpinner::spokes;
constexpr int smallSide = 16;
constexpr int regularSide = 24;
// Four steps a second, a spoke at a time (a turn in 2 s), still read as turning. Each step costs
// the same whatever it draws: a wake-up, a repaint and, on X11, a round trip to the display before
// the shared image is drawn into again. An idle window with a spinner on show should cost next to
// nothing, and five steps a second already cost 0.2 % of a core.
constexpr int stepMilliseconds = 1000 / 4;

void drawSpokes(QPainter *painter, qreal side, int step)
{
    const qreal outer = side / 2;
    const qreal inner = outer * 0.45;
    painter->translate(side / 2, side / 2);
    for (int i = 0; i < spokes; ++i) {
        // The spoke at the current step is brightest; the ones behind it fade out.
        const int age = (step - i + spokes) % spokes;
        const qreal opacity = 1.0 - 0.8 * age / (spokes - 1);
        painter->setPen(
            QPen(Theme::withOpacity(Theme::textSecondary(), opacity), side / 9, Qt::SolidLine, Qt::RoundCap));
        painter->drawLine(QPointF(0, -inner), QPointF(0, -outer + side / 12));
        painter->rotate(360.0 / spokes);
    }
}

QSize pixelSize(QSize size, qreal ratio)
{
    return {int(std::ceil(size.width() * ratio)), int(std::ceil(size.height() * ratio))};
}

QPixmap emptyPicture(QSize size, qreal ratio)
{
    QPixmap picture(pixelSize(size, ratio));
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    return picture;
}

} // namespace

BusySpinner::BusySpinner(Size size, QWidget *parent) : QWidget(parent), m_size(size)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    static const bool accessibleSpinners = [] {
        QAccessible::installFactory(spinnerFactory);
        return true;
    }();
    Q_UNUSED(accessibleSpinners)
    // Screens name each spinner after what it waits for; this is the fallback.
    setAccessibleName(QStringLiteral("Идёт выполнение"));
}

BusySpinner::~BusySpinner() = default;

QSize BusySpinner::sizeHint() const
{
    const int side = m_size == Size::small ? smallSide : regularSide;
    return {side, side};
}

void BusySpinner::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // What lies behind may have changed while hidden: the parents paint it on showing, and the
    // first step takes it again.
    m_placement = {};
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    m_timer.start(stepMilliseconds, Qt::CoarseTimer, this);
}

void BusySpinner::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_timer.stop();
}

void BusySpinner::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange ||
        event->type() == QEvent::ParentChange)
        m_placement = {};
}

void BusySpinner::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_timer.timerId()) {
        QWidget::timerEvent(event);
        return;
    }
    m_step = (m_step + 1) % spokes;
    if (!(currentPlacement() == m_placement))
        takeBackdrop();
    // At once rather than through a posted update: a step is then one copy to the screen, with no
    // extra round through the event loop.
    repaint();
}

BusySpinner::Placement BusySpinner::currentPlacement() const
{
    return {mapTo(window(), QPoint()), window()->size(), size(), devicePixelRatioF()};
}

// The ancestors paint what lies behind the spinner, outermost first, each without its children.
// Null when something shows through them, as when a screen is drawn over a backdrop of its own.
QPixmap BusySpinner::backdrop() const
{
    const qreal ratio = devicePixelRatioF();
    QImage picture(pixelSize(size(), ratio), QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QList<QWidget *> behind;
    for (QWidget *ancestor = parentWidget(); ancestor;
         ancestor = ancestor->isWindow() ? nullptr : ancestor->parentWidget())
        behind.prepend(ancestor);
    for (QWidget *ancestor : std::as_const(behind))
        ancestor->render(&picture, QPoint(), QRegion(QRect(mapTo(ancestor, QPoint()), size())), {});
    for (int y = 0; y < picture.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        if (std::any_of(line, line + picture.width(), [](QRgb pixel) { return qAlpha(pixel) != 255; }))
            return {};
    }
    // Without an alpha channel a step is a plain copy.
    return QPixmap::fromImage(picture.convertToFormat(QImage::Format_RGB32));
}

void BusySpinner::paintSpokes(QPainter *painter, int step) const
{
    painter->setRenderHint(QPainter::Antialiasing);
    const int side = std::min(width(), height());
    painter->translate(QPoint((width() - side) / 2, (height() - side) / 2));
    drawSpokes(painter, side, step);
}

QPixmap BusySpinner::composedFrame(int step) const
{
    QPixmap picture = m_backdrop.isNull() ? emptyPicture(size(), devicePixelRatioF()) : m_backdrop;
    QPainter painter(&picture);
    paintSpokes(&painter, step);
    return picture;
}

void BusySpinner::takeBackdrop()
{
    m_placement = currentPlacement();
    m_frames = {};
    m_backdrop = backdrop();
    // Opaque, a step repaints the spinner alone; otherwise its parents paint behind each step.
    const bool opaque = !m_backdrop.isNull();
    if (opaque != testAttribute(Qt::WA_OpaquePaintEvent)) {
        setAttribute(Qt::WA_OpaquePaintEvent, opaque);
        if (!opaque)
            update();
    }
}

void BusySpinner::paintEvent(QPaintEvent *)
{
    if (!(currentPlacement() == m_placement)) {
        // The parents have just painted what lies behind: the spokes go straight over it, and
        // the next step takes the backdrop, so a window's first frame does not wait for it.
        if (!testAttribute(Qt::WA_OpaquePaintEvent)) {
            QPainter painter(this);
            paintSpokes(&painter, m_step);
            return;
        }
        takeBackdrop();
    }
    QPixmap &frame = m_frames.at(std::size_t(m_step));
    if (frame.isNull())
        frame = composedFrame(m_step);
    QPainter(this).drawPixmap(0, 0, frame);
}
