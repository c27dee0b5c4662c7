#include "ui/screens/SymbolTile.h"

#include "ui/Icons.h"
#include "ui/Theme.h"

#include <QPainter>
#include <QPainterPath>

SymbolTile::SymbolTile(int side, qreal radius, int symbolSize, QWidget *parent)
    : QWidget(parent), m_side(side), m_radius(radius), m_symbolSize(symbolSize)
{
    setFixedSize(side, side);
}

SymbolTile::~SymbolTile() = default;

// Screens set the same look again on every device check: only a change repaints.
void SymbolTile::setFill(const QBrush &fill)
{
    if (fill == m_fill)
        return;
    m_fill = fill;
    update();
}

void SymbolTile::setSymbol(const QString &symbol, const QColor &tint)
{
    if (symbol == m_symbol && tint == m_tint)
        return;
    m_symbol = symbol;
    m_tint = tint;
    update();
}

void SymbolTile::setSymbolSize(int symbolSize)
{
    if (symbolSize == m_symbolSize)
        return;
    m_symbolSize = symbolSize;
    update();
}

void SymbolTile::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = rect();
    QPainterPath shape;
    if (m_radius < 0)
        shape.addEllipse(area);
    else
        shape.addRoundedRect(area, m_radius, m_radius);
    painter.fillPath(shape, m_fill);
    const qreal glyph = Theme::Metrics::symbolBox(m_symbolSize);
    Icons::paint(&painter, QRectF(area.center().x() - glyph / 2, area.center().y() - glyph / 2, glyph, glyph),
                 m_symbol, m_tint);
}
