#include "ui/shell/StudioSidebar.h"

#include "ui/StudioBrandIcon.h"
#include "ui/Theme.h"
#include "ui/shell/SidebarFeatures.h"
#include "ui/shell/SidebarRow.h"
#include "ui/shell/SupportLink.h"

#include <QLabel>
#include <QMenuBar>
#include <QPainter>
#include <QVBoxLayout>

namespace {
constexpr int brandIconSize = 42;
constexpr int rowInset = 8;
constexpr int footerPadding = 14;
constexpr int menuInset = 12;
constexpr int brandTop = 22;
constexpr int menuFontSize = 11;
} // namespace

StudioSidebar::StudioSidebar(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("sidebar"));
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeBrandHeader());
    column->addWidget(makeSectionCaption());

    auto *rows = new QVBoxLayout;
    rows->setContentsMargins(rowInset, 0, rowInset, 0);
    rows->setSpacing(2);
    for (const NavigationSection section : Navigation::allCases()) {
        auto *row = new SidebarRow(section, this);
        connect(row, &QAbstractButton::clicked, this, [this, section] {
            setSelection(section);
            emit sectionActivated(section);
        });
        rows->addWidget(row);
        m_rows.append(row);
    }
    column->addLayout(rows);
    column->addStretch(1);

    auto *footer = new QVBoxLayout;
    footer->setContentsMargins(footerPadding, footerPadding, footerPadding, footerPadding);
    footer->setSpacing(10);
    footer->addWidget(new SupportLink(this));
    footer->addWidget(new SidebarFeatures(this));
    column->addLayout(footer);
}

StudioSidebar::~StudioSidebar() = default;

QWidget *StudioSidebar::makeBrandHeader()
{
    auto *header = new QWidget(this);
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(20, brandTop, 20, 28);
    row->setSpacing(12);
    row->addWidget(new StudioBrandIcon(brandIconSize, header));

    auto *words = new QVBoxLayout;
    words->setSpacing(2);
    auto *product = new QLabel(QStringLiteral("Corvalin"), header);
    Theme::styleText(product, Theme::font(18, QFont::Bold), Theme::textPrimary());
    auto *studio = new QLabel(QStringLiteral("STUDIO"), header);
    Theme::styleText(studio, Theme::font(9, QFont::Bold, Theme::FontDesign::standard, 2.2),
                     Theme::studioAccent());
    // Centred beside the icon, so the two words keep their spacing of 2 in a taller row.
    words->addStretch(1);
    words->addWidget(product);
    words->addWidget(studio);
    words->addStretch(1);
    row->addLayout(words);
    row->addStretch(1);
    return header;
}

QWidget *StudioSidebar::makeSectionCaption()
{
    auto *caption = new QLabel(QStringLiteral("РАЗДЕЛЫ"), this);
    Theme::styleText(caption, Theme::font(10, QFont::DemiBold, Theme::FontDesign::standard, 1.4),
                     Theme::textSecondary());
    caption->setContentsMargins(20, 0, 20, 8);
    return caption;
}

void StudioSidebar::setSelection(std::optional<NavigationSection> section)
{
    m_selection = section;
    for (SidebarRow *row : std::as_const(m_rows))
        row->setSelected(section && row->section() == *section);
}

SidebarRow *StudioSidebar::row(NavigationSection section) const
{
    for (SidebarRow *row : m_rows) {
        if (row->section() == section)
            return row;
    }
    return nullptr;
}

void StudioSidebar::holdMenuBar(QMenuBar *menuBar)
{
    m_menuBar = menuBar;
    menuBar->setParent(this);
    menuBar->setFont(Theme::font(menuFontSize, QFont::DemiBold));
    QPalette palette = menuBar->palette();
    palette.setColor(QPalette::Window, Qt::transparent);
    palette.setColor(QPalette::ButtonText, Theme::textSecondary());
    palette.setColor(QPalette::WindowText, Theme::textSecondary());
    menuBar->setPalette(palette);
    menuBar->setAutoFillBackground(false);
    placeMenuBar();
    menuBar->show();
    menuBar->raise();
}

void StudioSidebar::placeMenuBar()
{
    if (!m_menuBar)
        return;
    // Beside the brand words, centred on the icon.
    const QSize hint = m_menuBar->sizeHint();
    const int menuWidth = std::min(hint.width(), width() - menuInset * 2);
    m_menuBar->setGeometry(width() - menuInset - menuWidth, brandTop + (brandIconSize - hint.height()) / 2,
                           menuWidth, hint.height());
}

void StudioSidebar::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    placeMenuBar();
}

void StudioSidebar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), Theme::sidebarBackground());
}
