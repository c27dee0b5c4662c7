#include "ui/SymbolView.h"

#include "ui/Icons.h"
#include "ui/Theme.h"

#include <QPainter>

SymbolView::SymbolView(const QString &symbol, const QColor &tint, int fontSize, QWidget *parent)
    : QWidget(parent), m_symbol(symbol), m_tint(tint), m_fontSize(fontSize)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

SymbolView::~SymbolView() = default;

void SymbolView::setSymbol(const QString &symbol)
{
    m_symbol = symbol;
    update();
}

void SymbolView::setTint(const QColor &tint)
{
    m_tint = tint;
    update();
}

void SymbolView::setFontSize(int fontSize)
{
    m_fontSize = fontSize;
    updateGeometry();
    update();
}

void SymbolView::setFrameWidth(int width)
{
    m_frameWidth = width;
    updateGeometry();
    update();
}

QSize SymbolView::sizeHint() const
{
    const int box = Theme::Metrics::symbolBox(m_fontSize);
    return {m_frameWidth > 0 ? m_frameWidth : box, box};
}

QSize SymbolView::minimumSizeHint() const
{
    return sizeHint();
}

void SymbolView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const int box = Theme::Metrics::symbolBox(m_fontSize);
    const QRectF square((width() - box) / 2.0, (height() - box) / 2.0, box, box);
    Icons::paint(&painter, square, m_symbol, m_tint);
}
