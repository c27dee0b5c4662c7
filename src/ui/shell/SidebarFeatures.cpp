#include "ui/shell/SidebarFeatures.h"

#include "ui/SymbolLabel.h"
#include "ui/Theme.h"

#include <QPainter>
#include <QVBoxLayout>

namespace {
constexpr int padding = 16;
constexpr qreal radius = 14;
} // namespace

SidebarFeatures::SidebarFeatures(QWidget *parent) : QWidget(parent)
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(8);
    const QFont font = Theme::font(11, QFont::Medium);
    column->addWidget(new SymbolLabel(QStringLiteral("lock.open.fill"), QStringLiteral("Без авторизации"),
                                      font, Theme::textSecondary(), this));
    column->addWidget(new SymbolLabel(QStringLiteral("checkmark.shield.fill"), QStringLiteral("CDN Apple"),
                                      font, Theme::textSecondary(), this));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

SidebarFeatures::~SidebarFeatures() = default;

void SidebarFeatures::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::withOpacity(Theme::white(), Theme::Opacity::sidebarFeaturesFill));
    painter.drawRoundedRect(QRectF(rect()), radius, radius);
}
