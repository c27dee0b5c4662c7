#include "ui/shell/SupportLink.h"

#include "ui/FocusRing.h"
#include "ui/Icons.h"
#include "ui/Theme.h"
#include "ui/shell/DesktopOpener.h"
#include "ui/shell/UnopenedMessage.h"

#include <QPainter>

namespace {

constexpr int padding = 13;
constexpr int spacing = 11;
constexpr int textSpacing = 2;
constexpr int planeSize = 15;
constexpr int planeFrame = 24;
constexpr int arrowSize = 10;
constexpr qreal radius = 14;

const QString supportTitle = QStringLiteral("Поддержка");

QFont titleFont()
{
    return Theme::font(12, QFont::DemiBold);
}

QFont handleFont()
{
    return Theme::font(11);
}

} // namespace

const QUrl &supportURL()
{
    static const QUrl url = [] {
        const QUrl parsed(QStringLiteral("https://t.me/corvalin_support"), QUrl::StrictMode);
        if (!parsed.isValid())
            qFatal("The support address is not a valid URL");
        return parsed;
    }();
    return url;
}

SupportLink::SupportLink(QWidget *parent) : PaintedButton(parent)
{
    setObjectName(QStringLiteral("supportLink"));
    setText(supportTitle);
    setAccessibleName(supportTitle + QStringLiteral(" ") + handle());
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::clicked, this, [this] {
        if (!DesktopOpener::open(supportURL()))
            UnopenedMessage::show(window(), QStringLiteral("Не удалось открыть ссылку"),
                                  QStringLiteral("Адрес чата поддержки: %1").arg(supportURL().toString()));
    });
}

SupportLink::~SupportLink() = default;

QString SupportLink::handle()
{
    return QStringLiteral("@corvalin_support");
}

QSize SupportLink::sizeHint() const
{
    const QFontMetrics title(titleFont());
    const QFontMetrics small(handleFont());
    const int textHeight = title.height() + textSpacing + small.height();
    const int textWidth = std::max(title.horizontalAdvance(supportTitle), small.horizontalAdvance(handle()));
    const int height = padding * 2 + std::max(textHeight, Theme::Metrics::symbolBox(planeSize));
    return {padding * 2 + planeFrame + spacing + textWidth + spacing + Theme::Metrics::symbolBox(arrowSize),
            height};
}

QSize SupportLink::minimumSizeHint() const
{
    return {padding * 2 + planeFrame + spacing * 2 + 60, sizeHint().height()};
}

void SupportLink::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF shape = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const bool focusRing = FocusRing::isVisible(this);
    painter.setPen(focusRing
                       ? QPen(Theme::focusRing(), Theme::Metrics::focusRingWidth)
                       : QPen(Theme::withOpacity(Theme::studioAccent(), Theme::Opacity::supportLinkOutline),
                              Theme::Metrics::outlineWidth));
    painter.setBrush(Theme::withOpacity(Theme::studioAccent(), Theme::Opacity::supportLinkFill));
    painter.drawRoundedRect(shape, radius, radius);

    const qreal middle = height() / 2.0;
    const int planeBox = Theme::Metrics::symbolBox(planeSize);
    const QRectF planeFrameRect(padding, 0, planeFrame, height());
    Icons::paint(
        &painter,
        QRectF(planeFrameRect.center().x() - planeBox / 2.0, middle - planeBox / 2.0, planeBox, planeBox),
        QStringLiteral("paperplane.fill"), Theme::studioAccent());

    const int arrowBox = Theme::Metrics::symbolBox(arrowSize);
    const QRectF arrow(width() - padding - arrowBox, middle - arrowBox / 2.0, arrowBox, arrowBox);
    Icons::paint(&painter, arrow, QStringLiteral("arrow.up.right"), Theme::textSecondary());

    const QFontMetrics title(titleFont());
    const QFontMetrics small(handleFont());
    const int textLeft = padding + planeFrame + spacing;
    const int available = std::max(0, int(arrow.left()) - spacing - textLeft);
    const int top = int(middle - (title.height() + textSpacing + small.height()) / 2.0);
    painter.setFont(titleFont());
    painter.setPen(Theme::textPrimary());
    painter.drawText(QRect(textLeft, top, available, title.height()), Qt::AlignLeft | Qt::AlignVCenter,
                     title.elidedText(supportTitle, Qt::ElideRight, available));
    painter.setFont(handleFont());
    painter.setPen(Theme::textSecondary());
    painter.drawText(QRect(textLeft, top + title.height() + textSpacing, available, small.height()),
                     Qt::AlignLeft | Qt::AlignVCenter, small.elidedText(handle(), Qt::ElideRight, available));
}
