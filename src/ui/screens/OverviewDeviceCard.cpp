#include "ui/screens/OverviewDeviceCard.h"

#include "device/DeviceMonitor.h"
#include "ui/StudioCard.h"
#include "ui/Theme.h"
#include "ui/screens/BusySpinner.h"
#include "ui/screens/ScreenLabels.h"
#include "ui/screens/SymbolTile.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int stackSpacing = 18;
constexpr int rowSpacing = 16;
constexpr int textSpacing = 5;
constexpr int tileSide = 58;
constexpr int connectedSymbolSize = 25;
constexpr int waitingSymbolSize = 23;

} // namespace

OverviewDeviceCard::OverviewDeviceCard(DeviceMonitor *monitor, QWidget *parent)
    : QWidget(parent), m_monitor(monitor), m_spinner(new BusySpinner(BusySpinner::Size::small)),
      m_tile(new SymbolTile(tileSide, -1, connectedSymbolSize)),
      m_title(ScreenLabels::label({}, Theme::font(17, QFont::DemiBold), Theme::textPrimary())),
      m_detail(ScreenLabels::wrappingLabel({}, Theme::font(12), Theme::textSecondary()))
{
    setObjectName(QStringLiteral("deviceCard"));
    m_spinner->setObjectName(QStringLiteral("deviceCheckingSpinner"));
    m_spinner->setAccessibleName(QStringLiteral("Проверка подключения"));
    m_title->setObjectName(QStringLiteral("deviceTitle"));
    m_detail->setObjectName(QStringLiteral("deviceDetail"));

    auto *card = new StudioCard;
    auto *stack = card->contentLayout();
    stack->setSpacing(stackSpacing);

    auto *heading = new QHBoxLayout;
    heading->addWidget(ScreenLabels::cardHeading(QStringLiteral("applewatch"), QStringLiteral("Устройство")));
    heading->addStretch();
    heading->addWidget(m_spinner);
    stack->addLayout(heading);

    auto *texts = new QVBoxLayout;
    texts->setSpacing(textSpacing);
    texts->addWidget(m_title);
    texts->addWidget(m_detail);
    auto *row = new QHBoxLayout;
    row->setSpacing(rowSpacing);
    row->addWidget(m_tile, 0, Qt::AlignVCenter);
    row->addLayout(texts, 1);
    stack->addLayout(row);

    stack->addWidget(ScreenLabels::checkNowButton(monitor, QStringLiteral("Проверить подключение"),
                                                  QStringLiteral("checkConnectionButton")));

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(card);

    m_spinner->setVisible(monitor->isChecking());
    connect(monitor, &DeviceMonitor::connectedWatchChanged, this, &OverviewDeviceCard::refresh);
    connect(monitor, &DeviceMonitor::isCheckingChanged, this, &OverviewDeviceCard::refresh);
    connect(monitor, &DeviceMonitor::connectionHintChanged, this, &OverviewDeviceCard::refresh);
    refresh();
}

OverviewDeviceCard::~OverviewDeviceCard() = default;

void OverviewDeviceCard::refresh()
{
    // A check that begins and ends within one turn of the event loop (reading the USB bus) is never
    // on screen: the spinner follows the state as it stands once the turn is over, which spares the
    // card two new layouts every few seconds.
    if (!m_spinnerFollowPending) {
        m_spinnerFollowPending = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
                m_spinnerFollowPending = false;
                m_spinner->setVisible(m_monitor->isChecking());
            },
            Qt::QueuedConnection);
    }
    if (const auto &watch = m_monitor->connectedWatch()) {
        m_tile->setFill(Theme::withOpacity(Theme::green(), Theme::Opacity::connectedTile));
        m_tile->setSymbol(QStringLiteral("applewatch.radiowaves.left.and.right"), Theme::green());
        m_tile->setSymbolSize(connectedSymbolSize);
        m_title->setText(watch->name);
        m_detail->setText(watch->productType + QStringLiteral(" • ") + watch->mode);
    } else {
        m_tile->setFill(Theme::withOpacity(Theme::orange(), Theme::Opacity::waitingTile));
        m_tile->setSymbol(QStringLiteral("cable.connector.slash"), Theme::orange());
        m_tile->setSymbolSize(waitingSymbolSize);
        m_title->setText(QStringLiteral("Часы не обнаружены"));
        m_detail->setText(m_monitor->connectionHint());
    }
}
