#include "ui/StatusLabel.h"

#include "ui/Theme.h"

StatusLabel::StatusLabel(const QString &text, const QString &symbol, const QColor &color, QWidget *parent)
    : SymbolLabel(symbol, text, Theme::font(11, QFont::DemiBold), color, parent)
{
    setSpacing(4);
}

StatusLabel::~StatusLabel() = default;
