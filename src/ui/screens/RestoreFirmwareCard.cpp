#include "ui/screens/RestoreFirmwareCard.h"

#include "app/model/StudioModel.h"
#include "device/DeviceMonitor.h"
#include "ui/StudioButton.h"
#include "ui/StudioCard.h"
#include "ui/Theme.h"
#include "ui/screens/ClampedLabel.h"
#include "ui/screens/RestoreTransport.h"
#include "ui/screens/ScreenLabels.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int stackSpacing = 16;
constexpr int lineSpacing = 4;

QWidget *twoLines(QWidget *first, QWidget *second)
{
    auto *pair = new QWidget;
    auto *stack = new QVBoxLayout(pair);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(lineSpacing);
    stack->addWidget(first);
    stack->addWidget(second);
    return pair;
}

} // namespace

RestoreFirmwareCard::RestoreFirmwareCard(StudioModel *model, DeviceMonitor *monitor, QWidget *parent)
    : QWidget(parent), m_model(model), m_monitor(monitor),
      m_fileName(new ClampedLabel(2, Theme::font(13, QFont::DemiBold), Theme::textPrimary())),
      m_folder(new ClampedLabel(1, Theme::font(10, QFont::Normal, Theme::FontDesign::monospaced),
                                Theme::textSecondary())),
      m_noFile(ScreenLabels::label(QStringLiteral("Файл не выбран"), Theme::font(13), Theme::textSecondary()))
{
    setObjectName(QStringLiteral("restoreFirmwareCard"));
    m_fileName->setObjectName(QStringLiteral("restoreImageName"));
    m_folder->setObjectName(QStringLiteral("restoreImageFolder"));
    m_noFile->setObjectName(QStringLiteral("restoreNoImage"));
    m_image = twoLines(m_fileName, m_folder);
    m_configurator = twoLines(ScreenLabels::label(QStringLiteral("Последняя подписываемая версия Apple"),
                                                  Theme::font(13, QFont::DemiBold), Theme::textPrimary()),
                              ScreenLabels::label(QStringLiteral("Configurator загрузит подходящую систему "
                                                                 "автоматически"),
                                                  Theme::font(10), Theme::textSecondary()));
    m_configurator->setObjectName(QStringLiteral("restoreConfiguratorImage"));

    auto *card = new StudioCard;
    auto *stack = card->contentLayout();
    stack->setSpacing(stackSpacing);
    stack->addWidget(
        ScreenLabels::cardHeading(QStringLiteral("doc.zipper"), QStringLiteral("Файл прошивки")));
    stack->addWidget(m_image);
    stack->addWidget(m_configurator);
    stack->addWidget(m_noFile);
    auto *choose = new StudioButton(SecondaryButtonStyle{}, QStringLiteral("Выбрать другой IPSW"),
                                    QStringLiteral("folder"));
    choose->setObjectName(QStringLiteral("chooseIPSWButton"));
    choose->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(choose, &StudioButton::clicked, model, &StudioModel::chooseManualIPSW);
    stack->addWidget(choose);

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(card);

    connect(model, &StudioModel::selectedIPSWChanged, this, &RestoreFirmwareCard::refresh);
    connect(monitor, &DeviceMonitor::connectedWatchChanged, this, &RestoreFirmwareCard::refresh);
    refresh();
}

RestoreFirmwareCard::~RestoreFirmwareCard() = default;

void RestoreFirmwareCard::refresh()
{
    const auto &image = m_model->selectedIPSW();
    const bool configurator = !image && isKISRestore(m_monitor->connectedWatch());
    m_image->setVisible(image.has_value());
    m_configurator->setVisible(configurator);
    m_noFile->setVisible(!image && !configurator);
    if (image) {
        const QFileInfo file(*image);
        m_fileName->setText(file.fileName());
        m_folder->setText(QDir::toNativeSeparators(file.absolutePath()));
    }
}
