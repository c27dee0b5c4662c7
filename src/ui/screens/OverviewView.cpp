#include "ui/screens/OverviewView.h"

#include "app/model/StudioModel.h"
#include "device/DeviceMonitor.h"
#include "download/DownloadManager.h"
#include "ui/ErrorBanner.h"
#include "ui/PageHeader.h"
#include "ui/Theme.h"
#include "ui/screens/CatalogStateCard.h"
#include "ui/screens/ConnectionBadge.h"
#include "ui/screens/DownloadCard.h"
#include "ui/screens/OverviewDeviceCard.h"
#include "ui/screens/QuickActionsCard.h"
#include "ui/screens/ScreenLabels.h"
#include "ui/screens/SelectedFirmwareCard.h"

#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>

OverviewView::OverviewView(StudioModel *model, DeviceMonitor *monitor, DownloadManager *downloader,
                           QWidget *parent)
    : QWidget(parent), m_model(model), m_monitor(monitor), m_downloader(downloader),
      m_badge(new ConnectionBadge), m_catalogState(new CatalogStateCard(model)),
      m_download(new DownloadCard(downloader)), m_catalogError(new ErrorBanner({}))
{
    setObjectName(QStringLiteral("overviewView"));
    // The download card must be on screen before the card's "Скачать" is disabled by the same
    // change, so the focus leaving that button moves on to the card's "Отменить", not out of the
    // page: this screen follows the download first, the selected-firmware card second.
    connect(downloader, &DownloadManager::isDownloadingChanged, this, &OverviewView::refresh);
    m_selectedFirmware = new SelectedFirmwareCard(model);
    m_badge->setObjectName(QStringLiteral("connectionBadge"));
    m_catalogError->setObjectName(QStringLiteral("catalogErrorBanner"));

    auto *page = new QWidget;
    auto *stack = new QVBoxLayout(page);
    stack->setContentsMargins(Theme::Metrics::pageMargins);
    stack->setSpacing(Theme::Metrics::overviewPageSpacing);
    stack->addWidget(new PageHeader(
        QStringLiteral("Центр управления"), QStringLiteral("Добро пожаловать"),
        QStringLiteral("Загрузка и восстановление Apple Watch без аккаунта и баллов."), m_badge));
    auto *cards = new QHBoxLayout;
    cards->setSpacing(Theme::Metrics::pageCardsSpacing);
    cards->addWidget(new OverviewDeviceCard(monitor), 1, Qt::AlignTop);
    cards->addWidget(new QuickActionsCard(model), 1, Qt::AlignTop);
    stack->addLayout(cards);
    stack->addWidget(m_selectedFirmware);
    stack->addWidget(m_catalogState);
    stack->addWidget(m_download);
    stack->addWidget(m_catalogError);
    stack->addStretch();
    // The cards that are not shown are hidden before the page is first measured, so their
    // texts and fonts cost nothing until they appear.
    refresh();

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(ScreenLabels::scrollingPage(page));

    connect(monitor, &DeviceMonitor::connectedWatchChanged, this, &OverviewView::refresh);
    connect(model, &StudioModel::selectedFirmwareChanged, this, &OverviewView::refresh);
    connect(model, &StudioModel::catalogErrorChanged, this, &OverviewView::refresh);
}

OverviewView::~OverviewView() = default;

void OverviewView::refresh()
{
    m_badge->setConnected(m_monitor->connectedWatch().has_value());
    const bool selected = m_model->selectedFirmware().has_value();
    m_selectedFirmware->setVisible(selected);
    m_catalogState->setVisible(!selected);
    m_download->setVisible(m_downloader->isDownloading());
    const auto &error = m_model->catalogError();
    m_catalogError->setText(error.value_or(QString()));
    m_catalogError->setVisible(error.has_value());
}
