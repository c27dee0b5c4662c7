#include "ui/screens/BusySpinner.h"

#include "ui/Theme.h"

#include <QAccessibleWidget>
#include <QPainter>
#include <QTimer>

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
// One turn a second, a spoke at a time, is what the eye reads as turning; every step repaints only the
// spinner's own square, from a frame each spinner draws once and keeps.
constexpr int stepMilliseconds = 125;

void drawFrame(QPainter *painter, qreal side, int step)
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

QPixmap drawnFrame(int side, qreal dpr, int step)
{
    const int pixels = int(std::ceil(side * dpr));
    QPixmap picture(pixels, pixels);
    picture.setDevicePixelRatio(dpr);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    drawFrame(&painter, side, step);
    return picture;
}

} // namespace

BusySpinner::BusySpinner(Size size, QWidget *parent)
    : QWidget(parent), m_size(size), m_timer(new QTimer(this))
{
    m_timer->setInterval(stepMilliseconds);
    connect(m_timer, &QTimer::timeout, this, [this] {
        m_step = (m_step + 1) % spokes;
        update();
    });
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
    m_timer->start();
}

void BusySpinner::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_timer->stop();
}

void BusySpinner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const int side = std::min(width(), height());
    const qreal ratio = devicePixelRatioF();
    if (side != m_framesSide || ratio != m_framesRatio) {
        m_frames = {};
        m_framesSide = side;
        m_framesRatio = ratio;
    }
    QPixmap &frame = m_frames.at(std::size_t(m_step));
    if (frame.isNull())
        frame = drawnFrame(side, ratio, m_step);
    painter.drawPixmap(QPoint((width() - side) / 2, (height() - side) / 2), frame);
}
