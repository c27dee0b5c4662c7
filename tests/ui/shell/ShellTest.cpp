#include "app/model/StudioModel.h"
#include "download/DownloadManager.h"
#include "restore/RestoreManager.h"
#include "support/FakeTools.h"
#include "support/LocalHttpServer.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"
#include "ui/FocusRing.h"
#include "ui/StudioButton.h"
#include "ui/Theme.h"
#include "ui/UiTestSupport.h"
#include "ui/screens/CatalogView.h"
#include "ui/screens/LogView.h"
#include "ui/screens/OverviewView.h"
#include "ui/screens/RestoreConfirmationSheet.h"
#include "ui/screens/RestoreView.h"
#include "ui/shell/AlreadyRunningMessage.h"
#include "ui/shell/CommandLine.h"
#include "ui/shell/DesktopOpener.h"
#include "ui/shell/IpswFileDialog.h"
#include "ui/shell/MainWindow.h"
#include "ui/shell/QtTranslations.h"
#include "ui/shell/RestoreEndNotice.h"
#include "ui/shell/RestoreQuitDialog.h"
#include "ui/shell/RestoreQuitGuard.h"
#include "ui/shell/SidebarRow.h"
#include "ui/shell/StudioRootView.h"
#include "ui/shell/StudioSidebar.h"
#include "ui/shell/SupportLink.h"
#include "ui/shell/UnsignedFirmwareAlert.h"

#include <QApplication>
#include <QCoroTask>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileOpenEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <csignal>

namespace {

void flushDeletes()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

const QString cancelLine = QStringLiteral("Пользователь запросил остановку процесса.");

// A restore tool that prints a line every tenth of a second; `onInterrupt` is its trap.
QString writeTickingTool(const TestPaths &paths, const QByteArray &onInterrupt)
{
    return FakeTools::write(
        paths.cfgutil(),
        FakeToolBehaviour::running("trap '" + onInterrupt + "' INT; while :; do echo tick; sleep 0.1; done"));
}

} // namespace

class ShellTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { Theme::applyDarkAppearance(*qApp); }

    void init()
    {
        m_paths = std::make_unique<TestPaths>();
        m_root = std::make_unique<StudioRootView>(offlineModel());
    }

    void cleanup()
    {
        m_root.reset();
        flushDeletes();
        m_paths.reset();
    }

    void sectionsSwitchTheScreenAndFlagsRaiseTheirDialogs()
    {
        StudioModel *model = m_root->model();
        StudioSidebar *sidebar = m_root->sidebar();
        QVERIFY(qobject_cast<OverviewView *>(m_root->currentScreen()));
        // Screens not shown yet are not built; one built late shows the state it missed.
        QVERIFY(!m_root->findChild<CatalogView *>() && !m_root->findChild<LogView *>() &&
                !m_root->findChild<RestoreView *>());
        QCoro::Task<> loading = model->refreshCatalog();
        QVERIFY(model->isLoadingCatalog());

        QTest::mouseClick(sidebar->row(NavigationSection::catalog), Qt::LeftButton);
        QCOMPARE(model->navigation(), NavigationSection::catalog);
        QWidget *catalog = m_root->currentScreen();
        QVERIFY(qobject_cast<CatalogView *>(catalog));
        QVERIFY(!catalog->findChild<QWidget *>(QStringLiteral("catalogLoading"))->isHidden());
        QCoro::waitFor(std::move(loading));

        QTest::keyClick(sidebar->row(NavigationSection::logs), Qt::Key_Space);
        QVERIFY(qobject_cast<LogView *>(m_root->currentScreen()));
        QTest::keyClick(sidebar->row(NavigationSection::catalog), Qt::Key_Space);
        QCOMPARE(m_root->currentScreen(), catalog); // built once, kept

        // A screen's quick action changes the model; the sidebar follows.
        model->setNavigation(NavigationSection::restore);
        QVERIFY(qobject_cast<RestoreView *>(m_root->currentScreen()));
        model->setNavigation(std::nullopt);
        QVERIFY(qobject_cast<OverviewView *>(m_root->currentScreen()));
        QCOMPARE(sidebar->selection(), std::nullopt);

        // A raised flag shows its dialog once; the answer lowers the flag and the dialog goes.
        LocalHttpServer server;
        WatchFirmware unsigned_{};
        unsigned_.productType = QStringLiteral("Watch6,1");
        unsigned_.downloadURL = server.url(QStringLiteral("/Watch6_1.ipsw"));
        unsigned_.filename = QStringLiteral("Watch6_1.ipsw");
        model->select(unsigned_);
        QSignalSpy downloading(model->downloader(), &DownloadManager::isDownloadingChanged);

        model->requestDownloadSelected();
        QPointer<UnsignedFirmwareAlert> alert = m_root->unsignedAlert();
        QVERIFY(alert && alert->isVisible());
        // Re-publishing the raised flag keeps the alert that is already up.
        model->setShowUnsignedWarning(true);
        QCOMPARE(m_root->unsignedAlert(), alert.data());

        // Cancel downloads nothing (the keyboard test answers the alert with the download anyway).
        alert->cancelButton()->click();
        flushDeletes();
        QVERIFY(alert.isNull());
        QVERIFY(!model->showUnsignedWarning());
        QCOMPARE(downloading.count(), 0);

        // The confirmation sheet follows its flag the same way, and comes back fresh.
        m_root->show();
        model->setShowRestoreConfirmation(true);
        QPointer<RestoreConfirmationSheet> first = m_root->restoreSheet();
        QVERIFY(first && first->isVisible());
        model->setShowRestoreConfirmation(true);
        QCOMPARE(m_root->restoreSheet(), first.data());

        first->reject(); // dismissing the sheet lowers the flag
        flushDeletes();
        QVERIFY(first.isNull());
        QVERIFY(!model->showRestoreConfirmation());
        QVERIFY(!m_root->restoreSheet());
        model->setShowRestoreConfirmation(true);
        QVERIFY(m_root->restoreSheet() && m_root->restoreSheet()->isVisible());
    }

    // The firmware folder command creates the folder and hands it, like the support link its
    // address, to the desktop; where the desktop has no opener, a message names the place instead.
    void desktopOpensThePlaceOrItIsNamed()
    {
        bool opens = true;
        QList<QUrl> opened;
        DesktopOpener::Testing::setOpener([&opened, &opens](const QUrl &url) {
            opened.append(url);
            return opens;
        });
        const auto restoreOpener = qScopeGuard([] { DesktopOpener::Testing::setOpener({}); });
        MainWindow window(offlineModel());
        QAction *openFolder = window.findChild<QMenu *>(QStringLiteral("applicationMenu"))->actions().at(1);
        QCOMPARE(openFolder->text(), QStringLiteral("Открыть папку прошивок"));
        const QString folder = QDir(m_paths->downloads()).filePath(QStringLiteral("Corvalin Firmware"));
        const QList<QUrl> places{QUrl::fromLocalFile(folder),
                                 QUrl(QStringLiteral("https://t.me/corvalin_support"))};
        QVERIFY(!QFileInfo::exists(folder));
        const auto openBoth = [&] {
            openFolder->trigger();
            window.findChild<SupportLink *>()->click();
            return window.findChildren<QMessageBox *>(QStringLiteral("unopenedMessage"));
        };
        QVERIFY(openBoth().isEmpty());
        QCOMPARE(opened, places);
        QVERIFY(QFileInfo(folder).isDir());

        opens = false;
        const QList<QMessageBox *> messages = openBoth();
        QCOMPARE(opened, places + places);
        QCOMPARE(messages.size(), 2);
        QCOMPARE(messages.at(0)->text(), QStringLiteral("Не удалось открыть папку прошивок"));
        QCOMPARE(messages.at(0)->informativeText(),
                 QStringLiteral("Прошивки лежат в папке ") + QDir::toNativeSeparators(folder));
        QCOMPARE(messages.at(1)->text(), QStringLiteral("Не удалось открыть ссылку"));
        QCOMPARE(messages.at(1)->informativeText(),
                 QStringLiteral("Адрес чата поддержки: https://t.me/corvalin_support"));
        renderAt1xAnd2x(messages.at(0), QStringLiteral("shell-unopened-folder"));
        const std::unique_ptr<QMessageBox> running = AlreadyRunningMessage::create();
        QCOMPARE(running->text(), QStringLiteral("Corvalin Studio уже запущена"));
        running->show();
        renderAt1xAnd2x(running.get(), QStringLiteral("shell-already-running"));
    }

    // A file dropped on the window or named on the command line is held to the chooser's rule
    // and, if it passes, taken exactly as the chooser's answer; otherwise nothing changes.
    void imagesFromOutsideTheChooser()
    {
        QDir folder(m_paths->downloads());
        for (const char *name : {"Watch7,1.ipsw", "W.IPSW", "notes.txt"}) {
            QFile file(folder.filePath(QString::fromLatin1(name)));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        QVERIFY(folder.mkdir(QStringLiteral("folder.ipsw")));
        QVERIFY(QDir::setCurrent(folder.path()));
        const QString image = QStringLiteral("Watch7,1.ipsw");
        const QString other = QStringLiteral("notes.txt");
        // The chooser's rule, shared by every way, is tried on its edge cases through the command line.
        const std::vector<std::tuple<QString, QStringList, bool>> cases{
            {"drop", {image}, true},
            {"drop", {other}, false},
            {"drop", {image, "W.IPSW"}, false},
            {"open event", {image}, true},
            {"open event", {other}, false},
            {"command line", {image}, true},
            {"command line", {other}, false},
            {"command line", {"W.IPSW"}, true},
            {"command line", {"gone.ipsw"}, false},
            {"command line", {"folder.ipsw"}, false},
        };
        for (const auto &[way, files, taken] : cases) {
            qInfo().noquote() << way << files.join(u' ');
            auto *model = offlineModel();
            MainWindow window(model);
            QSignalSpy selected(model, &StudioModel::selectedIPSWChanged);
            const qsizetype logBefore = model->restoreManager()->logText().size();
            const QString first = folder.filePath(files.constFirst());
            if (way == u"drop") {
                QMimeData data;
                QList<QUrl> urls;
                for (const QString &name : files)
                    urls.append(QUrl::fromLocalFile(folder.filePath(name)));
                data.setUrls(urls);
                QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
                QApplication::sendEvent(&window, &enter);
                QCOMPARE(enter.isAccepted(), taken);
                QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
                QApplication::sendEvent(&window, &drop);
            } else if (way == u"open event") {
                QFileOpenEvent open(first);
                QApplication::sendEvent(qApp, &open);
            } else {
                const CommandLine::Request request =
                    CommandLine::read({QStringLiteral("corvalin-studio"), files.constFirst()});
                QCOMPARE(request.file, std::optional(first));
                QCOMPARE(window.openRestoreImage(*request.file), taken);
            }

            const QString log = model->restoreManager()->logText().mid(logBefore);
            QCOMPARE(selected.size(), taken ? 1 : 0);
            QCOMPARE(model->selectedIPSW(), taken ? std::optional(first) : std::nullopt);
            if (taken)
                QCOMPARE(log, QStringLiteral("Выбран локальный файл: ") + first + u'\n');
            else
                QCOMPARE(log, way == u"drop"
                                  ? QString()
                                  : QStringLiteral("Файл не открыт: это не образ восстановления .ipsw: ") +
                                        first + u'\n');
        }
    }

    // The end of a restore is announced on the desktop only while the window is not the active one.
    void restoreEndIsAnnouncedWhileTheWindowIsElsewhere()
    {
        MainWindow window(offlineModel());
        QList<QStringList> notifications;
        window.restoreEndNotice()->setNotifier([&notifications](const QString &summary, const QString &body) {
            notifications.append({summary, body});
        });
        QWidget elsewhere;
        window.show();
        elsewhere.show();
        auto *restore = window.findChild<RestoreManager *>();
        const std::vector<std::tuple<int, QWidget *, QStringList>> cases{
            {0, &elsewhere, {"Восстановление завершено", "Часы восстановлены успешно."}},
            {3, &elsewhere, {"Восстановление не удалось", "Восстановление завершилось с ошибкой 3."}},
            {0, &window, {}},
        };
        for (const auto &[exitStatus, active, notified] : cases) {
            qInfo() << "exit status" << exitStatus << "active" << active;
            notifications.clear();
            FakeTools::write(m_paths->cfgutil(), FakeToolBehaviour::printing("restoring\n", exitStatus));
            QApplication::setActiveWindow(active);
            QVERIFY(QTest::qWaitForWindowActive(active));
            QCoro::waitFor(restore->startRestore(std::nullopt, kisWatch));
            QTRY_VERIFY(!restore->isRestoring());
            QTest::qWait(50);
            QCOMPARE(notifications, notified.isEmpty() ? QList<QStringList>{} : QList<QStringList>{notified});
        }
    }

    // The window's chooser opens in Russian in the firmware folder and returns at once: no event
    // loop of its own runs while it is up. A cancel changes nothing; a typed name must still be an
    // image, and the one that is reaches the model when the dialog closes.
    void chooserTakesOnlyRestoreImagesWhenClosed()
    {
        QVERIFY(QtTranslations::install(*qApp));
        const QDir folder(ToolLocator::cacheDirectory());
        for (const char *name : {"Watch6_1.ipsw", "image.ipsw.zip"})
            QVERIFY(QFile(folder.filePath(QString::fromLatin1(name))).open(QIODevice::WriteOnly));
        auto *model = offlineModel();
        MainWindow window(model);
        window.show();
        QSignalSpy selected(model, &StudioModel::selectedIPSWChanged);
        const auto openChooser = [&] {
            model->chooseManualIPSW();
            return window.findChild<IpswFileDialog *>();
        };
        IpswFileDialog *dialog = openChooser();
        QVERIFY(dialog);
        QTRY_VERIFY(dialog->isVisible());
        QCOMPARE(QDir(dialog->directory()).canonicalPath(), folder.canonicalPath());
        QCOMPARE(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Cancel)->text(),
                 QStringLiteral("Отмена"));
        dialog->reject();
        flushDeletes();
        QVERIFY(!window.findChild<IpswFileDialog *>());

        dialog = openChooser();
        QVERIFY(dialog);
        QTRY_VERIFY(dialog->isVisible());
        auto *name = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
        QVERIFY(name);
        name->setText(QStringLiteral("image.ipsw.zip")); // the extension only inside the name
        dialog->accept();
        QVERIFY(dialog->isVisible());
        QCOMPARE(selected.size(), 0);
        const QString image = folder.filePath(QStringLiteral("Watch6_1.ipsw"));
        dialog->selectFile(image);
        dialog->accept();
        flushDeletes();
        QVERIFY(!window.findChild<IpswFileDialog *>());
        QCOMPARE(selected.size(), 1);
        QCOMPARE(model->selectedIPSW(), std::optional(image));
    }

    // Focus the program moves in answer to a key shows its ring and stays on the page: "Скачать"
    // hands it to the download's "Отменить", a quick action to the new screen.
    void keyboardActionsKeepAVisibleFocus()
    {
        LocalHttpServer server;
        HttpResponse stalled = HttpResponse::ok(QByteArray(1000, 'x'));
        stalled.stallAfterBytes = 100;
        server.setResponse(QStringLiteral("/Watch6_1.ipsw"), stalled);
        MainWindow window(servedModel(server, catalogueOf({"Watch3,1", "Watch6,1"})));
        QVERIFY(showActive(window));
        StudioModel *model = window.rootView()->model();
        QTRY_COMPARE(model->firmware().size(), 2);
        // Through the unsigned warning, answered from the keyboard: the focus comes back with the window.
        WatchFirmware chosen = model->firmware().at(1);
        chosen.downloadURL = server.url(QStringLiteral("/Watch6_1.ipsw"));
        chosen.isCatalogSigned = false;
        model->select(chosen);
        auto *download = window.findChild<QWidget *>(QStringLiteral("downloadButton"));
        QWidget *cancel = window.findChild<QWidget *>(QStringLiteral("downloadCancelButton"));
        download->setFocus(Qt::TabFocusReason);
        QTest::keyClick(download, Qt::Key_Return);
        UnsignedFirmwareAlert *alert = window.rootView()->unsignedAlert();
        QVERIFY(alert);
        QTRY_COMPARE(QApplication::focusWidget(), alert->cancelButton());
        QTest::keyClick(alert->cancelButton(), Qt::Key_Tab);
        QTest::keyClick(alert->downloadAnywayButton(), Qt::Key_Return);
        QVERIFY(model->downloader()->isDownloading());
        QTRY_COMPARE(window.focusWidget(), cancel);
        QApplication::setActiveWindow(&window); // what the window manager does once the alert is gone
        QTRY_COMPARE(QApplication::focusWidget(), cancel);
        QVERIFY(FocusRing::isVisible(cancel));
        QTest::keyClick(cancel, Qt::Key_Space);
        QTRY_VERIFY(!model->downloader()->isDownloading());

        QWidget *catalogAction = window.findChild<QWidget *>(QStringLiteral("quickActionCatalog"));
        catalogAction->setFocus(Qt::TabFocusReason);
        QTest::keyClick(catalogAction, Qt::Key_Space);
        QWidget *catalog = window.rootView()->currentScreen();
        QVERIFY(qobject_cast<CatalogView *>(catalog));
        QWidget *landed = QApplication::focusWidget();
        QVERIFY(landed && catalog->isAncestorOf(landed) && FocusRing::isVisible(landed));
    }

    // Closing the window while a restore tool runs asks first, once; every way to keep the
    // application (the default, by Return, Escape or the button) leaves the tool running.
    void restoreQuitKeepsTheApplication()
    {
        writeTickingTool(*m_paths, "exit 0");
        MainWindow window(offlineModel());
        auto *guard = window.findChild<RestoreQuitGuard *>();
        auto *restore = window.findChild<RestoreManager *>();
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        // With no restore running the window closes without asking.
        QVERIFY(window.close());
        QVERIFY(!guard->dialog());
        window.show();
        QCoro::waitFor(restore->startRestore(std::nullopt, kisWatch));
        QTRY_VERIFY(restore->logText().endsWith(QStringLiteral("tick\n")));

        for (const char *answer : {"return", "escape", "keep"}) {
            qInfo() << answer;
            QVERIFY(!window.close());
            RestoreQuitDialog *dialog = guard->dialog();
            QVERIFY(dialog);
            QTRY_VERIFY(dialog->isVisible());
            QVERIFY(!window.close()); // asked once, not twice
            QCOMPARE(window.findChildren<RestoreQuitDialog *>().size(), 1);
            QTRY_COMPARE(QApplication::focusWidget(), dialog->keepButton());
            QVERIFY(FocusRing::isVisible(dialog->keepButton()));
            if (answer == std::string_view("return"))
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
            else if (answer == std::string_view("escape"))
                QTest::keyClick(dialog, Qt::Key_Escape);
            else
                QTest::mouseClick(dialog->keepButton(), Qt::LeftButton);
            QTRY_VERIFY(!guard->dialog());
        }
        QTest::qWait(300);
        QVERIFY(window.isVisible());
        QVERIFY(restore->isRestoring());
        QVERIFY(!restore->logText().contains(cancelLine));
        restore->stopBeforeExit(std::chrono::milliseconds(2000));
        QVERIFY(!restore->isRestoring());
    }

    // Quitting interrupts the tool and closes once it has ended, by itself or, past the bound, killed.
    void restoreQuitStopsTheToolThenCloses()
    {
        const std::vector<std::pair<QByteArray, QString>> cases{
            {"echo interrupted; exit 0", QStringLiteral("interrupted\nВосстановление завершено успешно.\n")},
            {"", QStringLiteral("Восстановление завершилось с ошибкой 9.\n")}};
        for (const auto &[onInterrupt, ending] : cases) {
            qInfo() << "on interrupt:" << onInterrupt;
            const QString tool = writeTickingTool(*m_paths, onInterrupt);
            MainWindow window(offlineModel());
            auto *guard = window.findChild<RestoreQuitGuard *>();
            guard->setStopBound(std::chrono::milliseconds(800));
            auto *restore = window.findChild<RestoreManager *>();
            window.show();
            QCoro::waitFor(restore->startRestore(std::nullopt, kisWatch));
            QTRY_VERIFY(restore->logText().endsWith(QStringLiteral("tick\n")));
            QVERIFY(!window.close());
            QTRY_VERIFY(guard->dialog() && guard->dialog()->isVisible());
            QTest::mouseClick(guard->dialog()->quitButton(), Qt::LeftButton);
            QVERIFY(restore->logText().contains(cancelLine));
            QTRY_VERIFY_WITH_TIMEOUT(!window.isVisible(), 10000);
            QVERIFY(!restore->isRestoring());
            QVERIFY2(restore->logText().endsWith(ending), qPrintable(restore->logText().right(100)));
            QCOMPARE(FakeTools::runCount(tool), 1);
        }
    }

    // Last, since it ends the application's event loop: a termination signal leaves the loop
    // normally, and on the way out the running tool is interrupted and waited for.
    void terminationSignalStopsTheToolOnTheWayOut()
    {
        writeTickingTool(*m_paths, "echo interrupted; exit 0");
        MainWindow window(offlineModel());
        auto *restore = window.findChild<RestoreManager *>();
        QCoro::waitFor(restore->startRestore(std::nullopt, kisWatch));
        QTRY_VERIFY(restore->logText().endsWith(QStringLiteral("tick\n")));

        QTimer::singleShot(0, [] { ::raise(SIGTERM); });
        QCOMPARE(QCoreApplication::exec(), 128 + SIGTERM);
        QVERIFY(!restore->isRestoring());
        QVERIFY(restore->logText().contains(cancelLine));
        QVERIFY(
            restore->logText().endsWith(QStringLiteral("interrupted\nВосстановление завершено успешно.\n")));
    }

private:
    std::unique_ptr<TestPaths> m_paths;
    std::unique_ptr<StudioRootView> m_root;
};

QTEST_MAIN(ShellTest)
#include "ShellTest.moc"
