#include "ui/PageHeader.h"

#include "ui/Theme.h"
#include "ui/WrappingLabel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

PageHeader::PageHeader(const QString &eyebrow, const QString &title, const QString &subtitle, QWidget *action,
                       QWidget *parent)
    : QWidget(parent), m_row(new QHBoxLayout(this)), m_eyebrow(new QLabel(this)), m_title(new QLabel(this)),
      m_subtitle(new WrappingLabel({}, this))
{
    m_row->setContentsMargins(0, 0, 0, 0);
    m_row->setSpacing(20);

    Theme::styleText(m_eyebrow, Theme::font(10, QFont::Bold, Theme::FontDesign::standard, 1.8),
                     Theme::studioAccent());
    Theme::styleText(m_title, Theme::font(30, QFont::Bold, Theme::FontDesign::rounded), Theme::textPrimary());
    Theme::styleText(m_subtitle, Theme::font(13), Theme::textSecondary());

    auto *stack = new QVBoxLayout;
    stack->setSpacing(7);
    stack->addWidget(m_eyebrow);
    stack->addWidget(m_title);
    stack->addWidget(m_subtitle);
    m_row->addLayout(stack, 1);
    m_row->addStretch();

    setEyebrow(eyebrow);
    setTitle(title);
    setSubtitle(subtitle);
    setAction(action);
}

PageHeader::~PageHeader() = default;

void PageHeader::setEyebrow(const QString &eyebrow)
{
    m_eyebrow->setText(eyebrow.toUpper());
}

void PageHeader::setTitle(const QString &title)
{
    m_title->setText(title);
}

void PageHeader::setSubtitle(const QString &subtitle)
{
    m_subtitle->setText(subtitle);
}

void PageHeader::setAction(QWidget *action)
{
    if (m_action == action)
        return;
    delete m_action;
    m_action = action;
    if (action)
        m_row->addWidget(action, 0, Qt::AlignVCenter);
}
