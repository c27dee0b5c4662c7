#include "ui/shell/MainWindow.h"

#include "app/StudioModel.h"
#include "ui/StudioButton.h"
#include "ui/Theme.h"
#include "ui/shell/RestoreQuitGuard.h"
#include "ui/shell/ShellCommands.h"
#include "ui/shell/StudioRootView.h"

#include <QAction>
#include <QCloseEvent>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>

MainWindow::MainWindow(StudioModel *model, QWidget *parent)
    : QMainWindow(parent), m_root(new StudioRootView(model, this)),
      m_quitGuard(new RestoreQuitGuard(model->restoreManager(), this))
{
    setWindowTitle(QStringLiteral("Corvalin Studio"));
    setCentralWidget(m_root);
    const QPointer<MainWindow> self(this);
    model->setManualIPSWChooser([self] { return ShellCommands::chooseManualIPSW(self); });
    buildMenu();
    resize(1280, 820);
}

MainWindow::~MainWindow() = default;

void MainWindow::closeEvent(QCloseEvent *event)
{
    event->setAccepted(m_quitGuard->allowsClose());
}

// The application menu: About, then the firmware folder. Nothing else, so no new window.
void MainWindow::buildMenu()
{
    QMenu *menu = menuBar()->addMenu(QStringLiteral("Corvalin Studio"));
    menu->setObjectName(QStringLiteral("applicationMenu"));
    QAction *about =
        menu->addAction(QStringLiteral("О программе Corvalin Studio"), this, &MainWindow::showAbout);
    about->setMenuRole(QAction::AboutRole);
    QAction *openFolder = menu->addAction(QStringLiteral("Открыть папку прошивок"), this,
                                          [] { ShellCommands::openFirmwareFolder(); });
    openFolder->setObjectName(QStringLiteral("openFirmwareFolderAction"));
    // On macOS this places it in the application menu right after About, beside it here.
    openFolder->setMenuRole(QAction::ApplicationSpecificRole);
}

void MainWindow::showAbout()
{
    auto *box =
        new QMessageBox(QMessageBox::NoIcon, QStringLiteral("Corvalin Studio"),
                        QStringLiteral("Corvalin Studio %1").arg(QCoreApplication::applicationVersion()),
                        QMessageBox::NoButton, this);
    box->setObjectName(QStringLiteral("aboutBox"));
    Theme::applyDarkAppearance(box);
    auto *close = new StudioButton(PrimaryButtonStyle{}, QStringLiteral("ОК"));
    box->addButton(close, QMessageBox::AcceptRole);
    box->setEscapeButton(close);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}
