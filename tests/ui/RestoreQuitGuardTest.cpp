#include "ui/shell/RestoreQuitGuard.h"
#include "app/StudioModel.h"
#include "restore/RestoreManager.h"
#include "support/FakeTools.h"
#include "support/TestPaths.h"
#include "ui/StudioButton.h"
#include "ui/Theme.h"
#include "ui/shell/MainWindow.h"
#include "ui/shell/RestoreQuitDialog.h"

#include <QApplication>
#include <QCoroTask>
#include <QTest>
#include <QTimer>

#include <csignal>

namespace {

const QString cancelLine = QStringLiteral("Пользователь запросил остановку процесса.");

const ConnectedWatch kisWatch{QStringLiteral("Watch7,1"),     QStringLiteral("n207sap"),
                              QStringLiteral("Apple Watch"),  QStringLiteral("DFU via Debug USB (KIS)"),
                              QStringLiteral("0x1A2B3C4D5E"), QString()};

// A restore tool that prints a line every tenth of a second; `onInterrupt` is its trap.
QString writeTickingTool(const TestPaths &paths, const QByteArray &onInterrupt)
{
    FakeToolBehaviour behaviour;
    behaviour.extraShell = "trap '" + onInterrupt + "' INT; while :; do echo tick; sleep 0.1; done";
    return FakeTools::write(paths.cfgutil(), behaviour);
}

} // namespace

// Closing the window or quitting while a restore tool runs.
class RestoreQuitGuardTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { Theme::applyDarkAppearance(*qApp); }

    void closesAtOnceWhenNoRestoreRuns()
    {
        TestPaths paths;
        MainWindow window(new StudioModel(QUrl(QStringLiteral("http://127.0.0.1:9/")), {}));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(window.close());
        QVERIFY(!window.findChild<RestoreQuitDialog *>());
    }

    // What each answer does: keep the application (the default, by Return, Escape or the
    // button), or quit, which interrupts the tool and closes once it has ended, by itself or,
    // past the bound, killed.
    void answers_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QByteArray>("onInterrupt");
        QTest::addColumn<QString>("ending"); // empty: the restore goes on
        QTest::newRow("Return keeps it open") << "return" << QByteArray("exit 0") << QString();
        QTest::newRow("Escape keeps it open") << "escape" << QByteArray("exit 0") << QString();
        QTest::newRow("keep button") << "keep" << QByteArray("exit 0") << QString();
        QTest::newRow("quit: tool ends on the interrupt")
            << "quit" << QByteArray("echo interrupted; exit 0")
            << QStringLiteral("interrupted\nВосстановление завершено успешно.\n");
        QTest::newRow("quit: tool ignores it and is ended past the bound")
            << "quit" << QByteArray("") << QStringLiteral("Восстановление завершилось с ошибкой 9.\n");
    }
    void answers()
    {
        QFETCH(QString, answer);
        QFETCH(QByteArray, onInterrupt);
        QFETCH(QString, ending);
        TestPaths paths;
        const QString tool = writeTickingTool(paths, onInterrupt);
        MainWindow window(new StudioModel(QUrl(QStringLiteral("http://127.0.0.1:9/")), {}));
        auto *guard = window.findChild<RestoreQuitGuard *>();
        guard->setStopBound(std::chrono::milliseconds(800));
        auto *restore = window.findChild<RestoreManager *>();
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCoro::waitFor(restore->startRestore(std::nullopt, kisWatch));
        QTRY_VERIFY(restore->logText().endsWith(QStringLiteral("tick\n")));

        QVERIFY(!window.close());
        RestoreQuitDialog *dialog = guard->dialog();
        QVERIFY(dialog);
        QTRY_VERIFY(dialog->isVisible());
        QVERIFY(!window.close()); // asked once, not twice
        QCOMPARE(window.findChildren<RestoreQuitDialog *>().size(), 1);
        QTRY_COMPARE(QApplication::focusWidget(), dialog->keepButton());
        QCOMPARE(dialog->keepButton()->text(), QStringLiteral("Продолжить восстановление"));
        QCOMPARE(dialog->quitButton()->text(), QStringLiteral("Остановить и выйти"));

        if (answer == u"return")
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        else if (answer == u"escape")
            QTest::keyClick(dialog, Qt::Key_Escape);
        else if (answer == u"keep")
            QTest::mouseClick(dialog->keepButton(), Qt::LeftButton);
        else
            QTest::mouseClick(dialog->quitButton(), Qt::LeftButton);

        if (ending.isEmpty()) {
            QTRY_VERIFY(!guard->dialog());
            QTest::qWait(300);
            QVERIFY(window.isVisible());
            QVERIFY(restore->isRestoring());
            QVERIFY(!restore->logText().contains(cancelLine));
            restore->stopBeforeExit(std::chrono::milliseconds(2000));
            QVERIFY(!restore->isRestoring());
            return;
        }
        QVERIFY(restore->logText().contains(cancelLine));
        QTRY_VERIFY_WITH_TIMEOUT(!window.isVisible(), 10000);
        QVERIFY(!restore->isRestoring());
        QVERIFY2(restore->logText().endsWith(ending), qPrintable(restore->logText().right(100)));
        QCOMPARE(FakeTools::runCount(tool), 1);
    }

    // Last, since it ends the application's event loop: a termination signal leaves the loop
    // normally, and on the way out the running tool is interrupted and waited for.
    void terminationSignalStopsTheToolOnTheWayOut()
    {
        TestPaths paths;
        writeTickingTool(paths, "echo interrupted; exit 0");
        MainWindow window(new StudioModel(QUrl(QStringLiteral("http://127.0.0.1:9/")), {}));
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
};

QTEST_MAIN(RestoreQuitGuardTest)
#include "RestoreQuitGuardTest.moc"
