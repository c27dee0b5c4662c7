#include "ui/screens/RestoreView.h"

#include "app/model/StudioModel.h"
#include "device/DeviceMonitor.h"
#include "restore/RestoreManager.h"
#include "ui/CheckLine.h"
#include "ui/ErrorBanner.h"
#include "ui/PageHeader.h"
#include "ui/StudioButton.h"
#include "ui/StudioCard.h"
#include "ui/Theme.h"
#include "ui/screens/RestoreDeviceCard.h"
#include "ui/screens/RestoreFirmwareCard.h"
#include "ui/screens/RestoreTransport.h"
#include "ui/screens/ScreenLabels.h"

#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

constexpr int checksSpacing = 14;

} // namespace

RestoreView::RestoreView(StudioModel *model, DeviceMonitor *monitor, RestoreManager *restoreManager,
                         QWidget *parent)
    : QWidget(parent), m_model(model), m_monitor(monitor), m_restore(restoreManager),
      m_firstCheck(new CheckLine({}, false)), m_error(new ErrorBanner({})),
      m_start(new StudioButton(PrimaryButtonStyle{}, QStringLiteral("Проверить и прошить"),
                               QStringLiteral("bolt.fill"))),
      m_stop(new StudioButton(DangerButtonStyle{}, QStringLiteral("Остановить")))
{
    setObjectName(QStringLiteral("restoreView"));
    m_firstCheck->setObjectName(QStringLiteral("transportCheck"));
    m_error->setObjectName(QStringLiteral("restoreErrorBanner"));
    m_start->setObjectName(QStringLiteral("startRestoreButton"));
    m_stop->setObjectName(QStringLiteral("stopRestoreButton"));

    auto *page = new QWidget;
    auto *stack = new QVBoxLayout(page);
    stack->setContentsMargins(Theme::Metrics::pageMargins);
    stack->setSpacing(Theme::Metrics::pageSpacing);
    stack->addWidget(new PageHeader(
        QStringLiteral("Безопасный режим"), QStringLiteral("Восстановление"),
        QStringLiteral("Перед запуском проверяются ProductType, BuildManifest и состояние подключения.")));

    auto *cards = new QHBoxLayout;
    cards->setSpacing(Theme::Metrics::pageCardsSpacing);
    cards->addWidget(new RestoreFirmwareCard(model, monitor), 1, Qt::AlignTop);
    cards->addWidget(new RestoreDeviceCard(monitor), 1, Qt::AlignTop);
    stack->addLayout(cards);

    auto *checks = new StudioCard;
    checks->setObjectName(QStringLiteral("whatWillHappenCard"));
    checks->contentLayout()->setSpacing(checksSpacing);
    checks->contentLayout()->addWidget(
        ScreenLabels::cardHeading(QStringLiteral("info.circle.fill"), QStringLiteral("Что произойдёт")));
    checks->contentLayout()->addWidget(m_firstCheck);
    checks->contentLayout()->addWidget(
        new CheckLine(QStringLiteral("Сверка точного ProductType в BuildManifest"), false));
    checks->contentLayout()->addWidget(
        new CheckLine(QStringLiteral("Запрос разрешения Apple TSS перед записью"), false));
    checks->contentLayout()->addWidget(new CheckLine(QStringLiteral("Полное удаление данных с часов"), true));
    stack->addWidget(checks);
    stack->addWidget(m_error);

    auto *actions = new QHBoxLayout;
    actions->addStretch();
    actions->addWidget(m_start);
    actions->addWidget(m_stop);
    stack->addLayout(actions);
    stack->addStretch();

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(ScreenLabels::scrollingPage(page));

    // "Проверить и прошить" only asks for the typed confirmation; the sheet starts the restore.
    connect(m_start, &StudioButton::clicked, model, [model] { model->setShowRestoreConfirmation(true); });
    connect(m_stop, &StudioButton::clicked, restoreManager, &RestoreManager::cancelRestore);

    connect(model, &StudioModel::selectedIPSWChanged, this, &RestoreView::refresh);
    connect(monitor, &DeviceMonitor::connectedWatchChanged, this, &RestoreView::refresh);
    connect(restoreManager, &RestoreManager::isRestoringChanged, this, &RestoreView::refresh);
    connect(restoreManager, &RestoreManager::isValidatingChanged, this, &RestoreView::refresh);
    connect(restoreManager, &RestoreManager::lastErrorChanged, this, &RestoreView::refresh);
    refresh();
}

RestoreView::~RestoreView() = default;

void RestoreView::refresh()
{
    const auto &watch = m_monitor->connectedWatch();
    const bool kis = isKISRestore(watch);
    m_firstCheck->setText(kis ? QStringLiteral("Загрузка последней подписываемой версии Apple")
                              : QStringLiteral("Полная проверка структуры Restore.ipsw"));

    const auto &error = m_restore->lastError();
    m_error->setText(error.value_or(QString()));
    m_error->setVisible(error.has_value());

    const bool restoring = m_restore->isRestoring();
    m_stop->setVisible(restoring);
    m_start->setVisible(!restoring);
    // A KIS restore may go without an image, a Recovery/DFU one may not; both need the watch.
    const bool hasImageOrKIS = m_model->selectedIPSW().has_value() || kis;
    m_start->setEnabled(hasImageOrKIS && watch.has_value() && !m_restore->isValidating());
}
