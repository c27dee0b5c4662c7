#include "ui/screens/DownloadCard.h"

#include "download/DownloadManager.h"
#include "ui/PlainButton.h"
#include "ui/StudioCard.h"
#include "ui/SymbolLabel.h"
#include "ui/Theme.h"
#include "ui/screens/ScreenLabels.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>

namespace {

constexpr int stackSpacing = 12;
constexpr int barSteps = 1000;

} // namespace

DownloadCard::DownloadCard(DownloadManager *downloader, QWidget *parent)
    : QWidget(parent), m_downloader(downloader),
      m_status(new SymbolLabel(QStringLiteral("arrow.down.circle.fill"), {}, Theme::font(14, QFont::DemiBold),
                               Theme::textPrimary())),
      m_percent(ScreenLabels::label({}, Theme::font(12, QFont::Bold, Theme::FontDesign::monospaced),
                                    Theme::studioAccent())),
      m_bar(new QProgressBar)
{
    setObjectName(QStringLiteral("downloadProgress"));
    m_status->setObjectName(QStringLiteral("downloadStatus"));
    m_percent->setObjectName(QStringLiteral("downloadPercent"));
    m_bar->setObjectName(QStringLiteral("downloadProgressBar"));
    m_bar->setAccessibleName(QStringLiteral("Ход загрузки"));
    m_bar->setRange(0, barSteps);
    m_bar->setTextVisible(false);
    m_bar->setFixedHeight(6);
    QPalette barPalette = m_bar->palette();
    barPalette.setColor(QPalette::Highlight, Theme::studioAccent());
    m_bar->setPalette(barPalette);

    auto *card = new StudioCard;
    auto *stack = card->contentLayout();
    stack->setSpacing(stackSpacing);
    auto *top = new QHBoxLayout;
    top->addWidget(m_status);
    top->addStretch();
    top->addWidget(m_percent);
    stack->addLayout(top);
    stack->addWidget(m_bar);

    auto *cancelText =
        ScreenLabels::label(QStringLiteral("Отменить"), Theme::font(12, QFont::DemiBold), Theme::red());
    auto *cancel = new PlainButton(cancelText, cancelText->text());
    cancel->setObjectName(QStringLiteral("downloadCancelButton"));
    connect(cancel, &PlainButton::clicked, downloader, &DownloadManager::cancel);
    stack->addWidget(cancel, 0, Qt::AlignLeft);

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(card);

    connect(downloader, &DownloadManager::progressChanged, this, &DownloadCard::refresh);
    connect(downloader, &DownloadManager::statusTextChanged, this, &DownloadCard::refresh);
    refresh();
}

DownloadCard::~DownloadCard() = default;

QString DownloadCard::percentText(double progress)
{
    return QString::number(static_cast<long long>(progress * 100)) + u'%';
}

void DownloadCard::refresh()
{
    const double progress = m_downloader->progress();
    m_status->setText(m_downloader->statusText());
    m_percent->setText(percentText(progress));
    m_bar->setValue(static_cast<int>(std::clamp(progress, 0.0, 1.0) * barSteps));
}
