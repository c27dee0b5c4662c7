#include "ui/shell/MainWindow.h"

#include "app/StudioModel.h"
#include "ui/BrandPicture.h"
#include "ui/StudioButton.h"
#include "ui/Theme.h"
#include "ui/shell/RestoreQuitGuard.h"
#include "ui/shell/ShellCommands.h"
#include "ui/shell/StudioRootView.h"

#include <QAction>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>

namespace {
constexpr int aboutIconSide = 64;
} // namespace

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

// What the platform's own About panel shows: the icon, the name and the version.
void MainWindow::showAbout()
{
    auto *box = new QMessageBox(this);
    box->setObjectName(QStringLiteral("aboutBox"));
    box->setWindowTitle(QStringLiteral("О программе Corvalin Studio"));
    box->setTextFormat(Qt::RichText);
    box->setText(QStringLiteral("<span style=\"font-size:17px; font-weight:700\">Corvalin Studio</span>"));
    box->setInformativeText(QStringLiteral("Версия %1").arg(QCoreApplication::applicationVersion()));
    const QIcon brand = BrandPicture::windowIcon();
    if (!brand.isNull())
        box->setIconPixmap(brand.pixmap(QSize(aboutIconSide, aboutIconSide), devicePixelRatio()));
    Theme::applyDarkAppearance(box);
    auto *close = new StudioButton(PrimaryButtonStyle{}, QStringLiteral("ОК"));
    box->addButton(close, QMessageBox::AcceptRole);
    box->setEscapeButton(close);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}
