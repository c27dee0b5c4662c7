#include "ui/SymbolLabel.h"

#include "ui/SymbolView.h"
#include "ui/Theme.h"

#include <QHBoxLayout>
#include <QLabel>

namespace {
constexpr int defaultSpacing = 6;
}

SymbolLabel::SymbolLabel(const QString &symbol, const QString &text, const QFont &font, const QColor &color,
                         QWidget *parent)
    : QWidget(parent), m_symbol(new SymbolView(symbol, color, font.pixelSize(), this)),
      m_text(new QLabel(text, this)), m_textColor(color)
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(defaultSpacing);
    row->addWidget(m_symbol, 0, Qt::AlignVCenter);
    row->addWidget(m_text, 1, Qt::AlignVCenter);
    Theme::styleText(m_text, font, color);
    m_symbol->setVisible(!symbol.isEmpty());
    setAccessibleName(text);
}

SymbolLabel::~SymbolLabel() = default;

void SymbolLabel::setSymbol(const QString &symbol)
{
    m_symbol->setSymbol(symbol);
    m_symbol->setVisible(!symbol.isEmpty());
}

void SymbolLabel::setText(const QString &text)
{
    m_text->setText(text);
    setAccessibleName(text);
}

void SymbolLabel::setColor(const QColor &color)
{
    setSymbolColor(color);
    setTextColor(color);
}

void SymbolLabel::setSymbolColor(const QColor &color)
{
    m_symbol->setTint(color);
}

void SymbolLabel::setTextColor(const QColor &color)
{
    m_textColor = color;
    Theme::styleText(m_text, m_text->font(), color);
}

void SymbolLabel::setSpacing(int spacing)
{
    layout()->setSpacing(spacing);
}

void SymbolLabel::setWordWrap(bool wrap)
{
    m_text->setWordWrap(wrap);
}

void SymbolLabel::setTextSelectable(bool selectable)
{
    m_text->setTextInteractionFlags(selectable ? Qt::TextSelectableByMouse : Qt::NoTextInteraction);
}

QString SymbolLabel::symbol() const
{
    return m_symbol->symbol();
}

QString SymbolLabel::text() const
{
    return m_text->text();
}
