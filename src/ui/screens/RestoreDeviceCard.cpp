#include "ui/screens/RestoreDeviceCard.h"

#include "device/DeviceMonitor.h"
#include "ui/StudioCard.h"
#include "ui/SymbolLabel.h"
#include "ui/Theme.h"
#include "ui/screens/ScreenLabels.h"

#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int stackSpacing = 16;
constexpr int lineSpacing = 4;

} // namespace

RestoreDeviceCard::RestoreDeviceCard(DeviceMonitor *monitor, QWidget *parent)
    : QWidget(parent), m_monitor(monitor),
      m_name(ScreenLabels::label({}, Theme::font(14, QFont::DemiBold), Theme::textPrimary())),
      m_detail(ScreenLabels::label({}, Theme::font(11, QFont::Normal, Theme::FontDesign::monospaced),
                                   Theme::textSecondary())),
      m_state(new SymbolLabel({}, {}, Theme::font(11, QFont::DemiBold), Theme::green()))
{
    setObjectName(QStringLiteral("restoreDeviceCard"));
    m_name->setObjectName(QStringLiteral("restoreDeviceName"));
    m_detail->setObjectName(QStringLiteral("restoreDeviceDetail"));
    m_state->setObjectName(QStringLiteral("restoreDeviceState"));

    auto *card = new StudioCard;
    auto *stack = card->contentLayout();
    stack->setSpacing(stackSpacing);
    stack->addWidget(
        ScreenLabels::cardHeading(QStringLiteral("applewatch"), QStringLiteral("Целевое устройство")));
    auto *lines = new QVBoxLayout;
    lines->setSpacing(lineSpacing);
    lines->addWidget(m_name);
    lines->addWidget(m_detail);
    lines->addWidget(m_state);
    stack->addLayout(lines);
    stack->addWidget(ScreenLabels::checkNowButton(monitor, QStringLiteral("Повторить проверку"),
                                                  QStringLiteral("recheckButton")));

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(card);

    connect(monitor, &DeviceMonitor::connectedWatchChanged, this, &RestoreDeviceCard::refresh);
    refresh();
}

RestoreDeviceCard::~RestoreDeviceCard() = default;

void RestoreDeviceCard::refresh()
{
    const auto &watch = m_monitor->connectedWatch();
    m_detail->setVisible(watch.has_value());
    if (watch) {
        m_name->setText(watch->name);
        m_detail->setText(watch->productType + QStringLiteral(" · ") + watch->mode);
        // Also for a watch found through Apple Configurator: the wording does not follow the mode.
        m_state->setSymbol(QStringLiteral("checkmark.circle.fill"));
        m_state->setText(QStringLiteral("Recovery/DFU обнаружен"));
        m_state->setColor(Theme::green());
    } else {
        m_name->setText(QStringLiteral("Часы не подключены"));
        m_state->setSymbol(QStringLiteral("exclamationmark.circle.fill"));
        m_state->setText(QStringLiteral("Нужен сервисный кабель"));
        m_state->setColor(Theme::orange());
    }
}
