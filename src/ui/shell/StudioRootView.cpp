#include "ui/shell/StudioRootView.h"

#include "app/model/StudioModel.h"
#include "device/DeviceMonitor.h"
#include "ui/FocusRing.h"
#include "ui/StudioBackground.h"
#include "ui/Theme.h"
#include "ui/screens/CatalogView.h"
#include "ui/screens/LogView.h"
#include "ui/screens/OverviewView.h"
#include "ui/screens/RestoreConfirmationSheet.h"
#include "ui/screens/RestoreView.h"
#include "ui/screens/ScreenLabels.h"
#include "ui/shell/FirstFrame.h"
#include "ui/shell/StudioSidebar.h"
#include "ui/shell/UnsignedFirmwareAlert.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QSplitter>
#include <QStackedWidget>

namespace {
constexpr int sidebarMinimumWidth = 230;
constexpr int sidebarIdealWidth = 250;
constexpr int sidebarMaximumWidth = 280;
constexpr QSize designMinimum(1120, 720);

NavigationSection shownSection(std::optional<NavigationSection> section)
{
    return section.value_or(NavigationSection::overview);
}

// Shows the dialog `make` builds while a model flag is raised and lowers the flag however the
// dialog ends; a flag lowered elsewhere closes the dialog. `shown` belongs to `context`.
template <typename Dialog, typename Make, typename Lower>
void followFlag(QObject *context, QPointer<Dialog> &shown, bool raised, Make make, Lower lowerFlag)
{
    if (!raised) {
        if (Dialog *dialog = shown) {
            shown = nullptr;
            dialog->disconnect(context);
            dialog->close();
            dialog->deleteLater();
        }
        return;
    }
    if (shown)
        return;
    Dialog *dialog = make();
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    shown = dialog;
    QObject::connect(dialog, &QDialog::finished, context, [&shown, dialog, lowerFlag] {
        if (shown != dialog)
            return;
        shown = nullptr;
        lowerFlag();
    });
    dialog->open();
}
} // namespace

StudioRootView::StudioRootView(StudioModel *model, QWidget *parent)
    : QWidget(parent), m_model(model), m_sidebar(new StudioSidebar), m_screens(new QStackedWidget)
{
    m_model->setParent(this);
    setObjectName(QStringLiteral("rootView"));

    // On a screen too short for the whole column the sidebar scrolls, like the pages.
    QScrollArea *sidebarColumn = ScreenLabels::scrollingPage(m_sidebar);
    sidebarColumn->setObjectName(QStringLiteral("sidebarColumn"));
    sidebarColumn->setMinimumWidth(sidebarMinimumWidth);
    sidebarColumn->setMaximumWidth(sidebarMaximumWidth);
    QPalette sidebarPalette = sidebarColumn->palette();
    sidebarPalette.setColor(QPalette::Window, Theme::sidebarBackground());
    sidebarColumn->setPalette(sidebarPalette);
    sidebarColumn->setAutoFillBackground(true);

    auto *detail = new StudioBackground;
    detail->setObjectName(QStringLiteral("detailColumn"));
    auto *detailLayout = new QHBoxLayout(detail);
    detailLayout->setContentsMargins(0, 0, 0, 0);
    detailLayout->addWidget(m_screens);
    DeviceMonitor *monitor = m_model->deviceMonitor();

    auto *split = new QSplitter(Qt::Horizontal);
    split->setObjectName(QStringLiteral("splitView"));
    split->setChildrenCollapsible(false);
    split->setHandleWidth(1);
    split->addWidget(sidebarColumn);
    split->addWidget(detail);
    split->setStretchFactor(0, 0);
    split->setStretchFactor(1, 1);
    split->setSizes({sidebarIdealWidth, designMinimum.width() - sidebarIdealWidth});
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(split);

    connect(m_sidebar, &StudioSidebar::sectionActivated, m_model,
            [this](NavigationSection section) { m_model->setNavigation(section); });
    connect(m_model, &StudioModel::navigationChanged, this, &StudioRootView::showNavigation);
    connect(m_model, &StudioModel::showUnsignedWarningChanged, this, &StudioRootView::followUnsignedWarning);
    connect(m_model, &StudioModel::showRestoreConfirmationChanged, this,
            &StudioRootView::followRestoreConfirmation);

    // Every publication of the watch, the current one included, re-selects its firmware.
    connect(monitor, &DeviceMonitor::connectedWatchChanged, m_model,
            [this, monitor] { m_model->syncConnectedDevice(monitor->connectedWatch()); });
    m_model->syncConnectedDevice(monitor->connectedWatch());

    showNavigation();
    followUnsignedWarning();
    followRestoreConfirmation();
}

// The screens, the alert and the sheet observe the model: they go first, the model last.
StudioRootView::~StudioRootView()
{
    delete m_alert;
    delete m_sheet;
    qDeleteAll(findChildren<QWidget *>(Qt::FindDirectChildrenOnly));
}

QSize StudioRootView::minimumContentSize()
{
    return designMinimum;
}

QWidget *StudioRootView::currentScreen() const
{
    return m_screens->currentWidget();
}

// The first frame waits only for the screen it shows, and a screen never visited costs nothing.
// Once built, a screen stays, so switching sections keeps what each shows.
QWidget *StudioRootView::screen(NavigationSection section)
{
    if (QWidget *built = m_built.value(int(section)))
        return built;
    QWidget *built = nullptr;
    switch (section) {
    case NavigationSection::overview:
        built = new OverviewView(m_model, m_model->deviceMonitor(), m_model->downloader());
        break;
    case NavigationSection::catalog: built = new CatalogView(m_model); break;
    case NavigationSection::restore:
        built = new RestoreView(m_model, m_model->deviceMonitor(), m_model->restoreManager());
        break;
    case NavigationSection::logs: built = new LogView(m_model, m_model->restoreManager()); break;
    }
    m_screens->addWidget(built);
    m_built.insert(int(section), built);
    return built;
}

UnsignedFirmwareAlert *StudioRootView::unsignedAlert() const
{
    return m_alert;
}

RestoreConfirmationSheet *StudioRootView::restoreSheet() const
{
    return m_sheet;
}

void StudioRootView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (m_started)
        return;
    m_started = true;
    // Once the view is on screen, not before: the first catalogue request loads the TLS
    // libraries and the device check reads the USB bus, and neither shows in the first frame.
    FirstFrame::afterFirstPaint(window(), [model = QPointer<StudioModel>(m_model)] {
        if (model)
            model->start();
    });
}

void StudioRootView::showNavigation()
{
    QWidget *before = QApplication::focusWidget();
    const QWidget *shown = m_screens->currentWidget();
    const bool focusWasOnScreen = before && shown && shown->isAncestorOf(before);
    const bool ringWasShown = before && FocusRing::isVisible(before);
    m_screens->setCurrentWidget(screen(shownSection(m_model->navigation())));
    m_sidebar->setSelection(m_model->navigation());

    // The stack hands the focus of a screen left from one of its controls (a quick action) to
    // the first control of the new one. After a key it shows its ring there; after a click no
    // control keeps a focus nobody can see: the screen holds it, and Tab starts from its top.
    QWidget *screen = m_screens->currentWidget();
    QWidget *after = QApplication::focusWidget();
    if (!focusWasOnScreen || !after || after == before || !screen->isAncestorOf(after))
        return;
    if (ringWasShown)
        FocusRing::focusWithRing(after);
    else
        screen->setFocus(Qt::OtherFocusReason);
}

// The flag is re-published on every assignment: a dialog already on screen stays as it is.
void StudioRootView::followUnsignedWarning()
{
    followFlag(
        this, m_alert, m_model->showUnsignedWarning(),
        [this] {
            auto *alert = new UnsignedFirmwareAlert(window());
            connect(alert, &UnsignedFirmwareAlert::downloadConfirmed, this, [this] {
                m_model->setShowUnsignedWarning(false);
                m_model->downloadSelected();
            });
            return alert;
        },
        [this] { m_model->setShowUnsignedWarning(false); });
}

// A fresh sheet for every presentation, so its typed word always starts empty.
void StudioRootView::followRestoreConfirmation()
{
    followFlag(
        this, m_sheet, m_model->showRestoreConfirmation(),
        [this] {
            auto *sheet = new RestoreConfirmationSheet(m_model, m_model->deviceMonitor(),
                                                       m_model->restoreManager(), window());
            sheet->setWindowModality(Qt::WindowModal);
            return sheet;
        },
        [this] { m_model->setShowRestoreConfirmation(false); });
}
