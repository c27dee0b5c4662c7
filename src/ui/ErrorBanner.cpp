#include "ui/ErrorBanner.h"

#include "ui/SymbolLabel.h"
#include "ui/Theme.h"

#include <QHBoxLayout>
#include <QPainter>

ErrorBanner::ErrorBanner(const QString &text, QWidget *parent)
    : QWidget(parent), m_label(new SymbolLabel(QStringLiteral("exclamationmark.triangle.fill"), text,
                                               Theme::font(12, QFont::DemiBold), Theme::red(), this))
{
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
    m_label->setText(text);
    setAccessibleName(text);
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
