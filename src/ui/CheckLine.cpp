#include "ui/CheckLine.h"

#include "ui/SymbolView.h"
#include "ui/Theme.h"
#include "ui/WrappingLabel.h"

#include <QHBoxLayout>
#include <QLabel>

namespace {
constexpr int textSize = 12;
}

CheckLine::CheckLine(const QString &text, bool warning, QWidget *parent)
    : QWidget(parent), m_icon(new SymbolView({}, {}, textSize, this)), m_text(new WrappingLabel(text, this))
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(10);
    row->addWidget(m_icon, 0, Qt::AlignVCenter);
    row->addWidget(m_text, 1, Qt::AlignVCenter);
    Theme::styleText(m_text, Theme::font(textSize, QFont::Medium), Theme::textPrimary());
    setAccessibleName(text);
    setWarning(warning);
}

CheckLine::~CheckLine() = default;

void CheckLine::setText(const QString &text)
{
    m_text->setText(text);
    setAccessibleName(text);
}

void CheckLine::setWarning(bool warning)
{
    m_warning = warning;
    if (warning) {
        m_icon->setSymbol(QStringLiteral("exclamationmark.triangle.fill"));
        m_icon->setTint(Theme::orange());
    } else {
        m_icon->setSymbol(QStringLiteral("checkmark.circle.fill"));
        m_icon->setTint(Theme::green());
    }
}

QString CheckLine::text() const
{
    return m_text->text();
}

QString CheckLine::symbol() const
{
    return m_icon->symbol();
}
