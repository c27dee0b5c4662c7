#include "ui/shell/MainWindow.h"

#include "app/model/StudioModel.h"
#include "ui/BrandPicture.h"
#include "ui/shell/IpswFileDialog.h"
#include "ui/shell/MessageBoxLook.h"
#include "ui/shell/RestoreEndNotice.h"
#include "ui/shell/RestoreQuitGuard.h"
#include "ui/shell/ShellCommands.h"
#include "ui/shell/StudioRootView.h"
#include "ui/shell/StudioSidebar.h"
#include "ui/shell/WindowFit.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileOpenEvent>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPointer>
#include <QTimer>
#include <QWindow>

namespace {
constexpr int aboutIconSide = 64;
constexpr QSize preferredSize(1280, 820);

// The one local restore image a drag carries, or nothing.
std::optional<QString> draggedRestoreImage(const QMimeData *data)
{
    const QList<QUrl> urls = data->urls();
    if (urls.size() != 1 || !urls.constFirst().isLocalFile())
        return std::nullopt;
    const QString path = urls.constFirst().toLocalFile();
    if (!IpswFileDialog::isRestoreImage(path))
        return std::nullopt;
    return path;
}
} // namespace

MainWindow::MainWindow(StudioModel *model, QWidget *parent)
    : QMainWindow(parent), m_root(new StudioRootView(model, this)),
      m_quitGuard(new RestoreQuitGuard(model->restoreManager(), this)),
      m_restoreEndNotice(new RestoreEndNotice(model->restoreManager(), this))
{
    setWindowTitle(QStringLiteral("Corvalin Studio"));
    setCentralWidget(m_root);
    const QPointer<MainWindow> self(this);
    // The dialog is only opened here: its answer reaches the model when the user closes it, taken
    // exactly as a file opened another way is; until then nothing is chosen.
    const QPointer<StudioModel> receiver(model);
    model->setManualIPSWChooser([self, receiver] {
        ShellCommands::chooseManualIPSW(self, [receiver](const ManualIPSWChoice &choice) {
            if (receiver)
                receiver->takeManualIPSW(choice);
        });
        return ManualIPSWChoice{};
    });
    buildMenu();
    WindowFit::apply(this, StudioRootView::minimumContentSize(), preferredSize);
    setAcceptDrops(true);
    // macOS hands a file opened from the Finder to the running application as an event.
    qApp->installEventFilter(this);
}

MainWindow::~MainWindow() = default;

void MainWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    // Once framed on its screen, the window knows its title bar and where it is; it follows the
    // screen it is moved to.
    QTimer::singleShot(0, this,
                       [this] { WindowFit::applyMinimum(this, StudioRootView::minimumContentSize()); });
    if (QWindow *handle = windowHandle(); handle && !m_followsScreen) {
        m_followsScreen = true;
        connect(handle, &QWindow::screenChanged, this,
                [this] { WindowFit::applyMinimum(this, StudioRootView::minimumContentSize()); });
    }
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    event->setAccepted(m_quitGuard->allowsClose());
}

// The application menu: About, then the firmware folder. Nothing else, so no new window. On
// macOS it is the application menu, titled by the platform with the application's name.
bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == qApp && event->type() == QEvent::FileOpen) {
        openRestoreImage(static_cast<QFileOpenEvent *>(event)->file());
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

bool MainWindow::openRestoreImage(const QString &path)
{
    return ShellCommands::takeRestoreImage(m_root->model(), path);
}

void MainWindow::comeToFront()
{
    setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    show();
    raise();
    activateWindow();
    // Where the window system keeps the focus where it is, the window at least asks for it.
    QApplication::alert(this);
}

// Only a single restore image is accepted, so anything else shows as not droppable.
void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (draggedRestoreImage(event->mimeData()))
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent *event)
{
    if (const std::optional<QString> path = draggedRestoreImage(event->mimeData())) {
        event->acceptProposedAction();
        openRestoreImage(*path);
    }
}

void MainWindow::buildMenu()
{
#ifdef Q_OS_MACOS
    QMenuBar *bar = menuBar();
    const QString title = QStringLiteral("Corvalin Studio");
#else
    const QString title = QStringLiteral("Меню");
    // Inside the window a menu bar would add its own row to the window's height.
    auto *bar = new QMenuBar;
    bar->setObjectName(QStringLiteral("menuBar"));
    m_root->sidebar()->holdMenuBar(bar);
#endif
    QMenu *menu = bar->addMenu(title);
    menu->setObjectName(QStringLiteral("applicationMenu"));
    QAction *about =
        menu->addAction(QStringLiteral("О программе Corvalin Studio"), this, &MainWindow::showAbout);
    about->setMenuRole(QAction::AboutRole);
    QAction *openFolder = menu->addAction(QStringLiteral("Открыть папку прошивок"), this,
                                          [this] { ShellCommands::openFirmwareFolder(this); });
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
    MessageBoxLook::apply(*box);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}
