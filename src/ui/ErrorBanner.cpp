#include "ui/ErrorBanner.h"

#include "ui/SymbolLabel.h"
#include "ui/Theme.h"

#include <QAccessibleWidget>
#include <QHBoxLayout>
#include <QPainter>
#include <QShowEvent>

namespace {

// A banner is an alert for assistive tools, announced when it appears or its text changes.
QAccessibleInterface *bannerFactory(const QString &className, QObject *object)
{
    if (className == QLatin1StringView("ErrorBanner") && object && object->isWidgetType())
        return new QAccessibleWidget(static_cast<QWidget *>(object), QAccessible::AlertMessage);
    return nullptr;
}

} // namespace

ErrorBanner::ErrorBanner(const QString &text, QWidget *parent)
    : QWidget(parent), m_label(new SymbolLabel(QStringLiteral("exclamationmark.triangle.fill"), text,
                                               Theme::font(12, QFont::DemiBold), Theme::red(), this))
{
    static const bool accessibleBanners = [] {
        QAccessible::installFactory(bannerFactory);
        return true;
    }();
    Q_UNUSED(accessibleBanners)
    const int padding = Theme::Metrics::errorBannerPadding;
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(padding, padding, padding, padding);
    row->addWidget(m_label, 1);
    m_label->setWordWrap(true);
    m_label->setTextSelectable(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    setAccessibleName(text);
}

ErrorBanner::~ErrorBanner() = default;

void ErrorBanner::setText(const QString &text)
{
    const bool changed = text != m_label->text();
    m_label->setText(text);
    setAccessibleName(text);
    if (changed && isVisible())
        announce();
}

void ErrorBanner::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!event->spontaneous())
        announce();
}

void ErrorBanner::announce()
{
    if (text().isEmpty())
        return;
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

QString ErrorBanner::text() const
{
    return m_label->text();
}

void ErrorBanner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal radius = Theme::Metrics::errorBannerRadius;
    painter.setPen(
        QPen(Theme::withOpacity(Theme::red(), Theme::Opacity::errorOutline), Theme::Metrics::outlineWidth));
    painter.setBrush(Theme::withOpacity(Theme::red(), Theme::Opacity::errorFill));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}
