#include "restore/RestoreManager.h"
#include "restore/command/RestoreLogFile.h"
#include "support/FakeTools.h"
#include "support/StandardInputFrom.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"

#include <QCoroTask>
#include <QDir>
#include <QSignalSpy>
#include <QTest>

#include <csignal>

namespace {

const QString initialLog = QStringLiteral("Corvalin Studio готов к работе.\n");
const QString startingLine = QStringLiteral("Запуск восстановления. Журнал: ");
const QString cancelLine = QStringLiteral("Пользователь запросил остановку процесса.");
const QString successLine = QStringLiteral("Восстановление завершено успешно.");

const QByteArray imageInfo = testData("idevicerestore-ipsw-info.txt"); // lists Watch7,1

const ConnectedWatch recoveryWatch{
    "Watch7,1", "n207sap", "Apple Watch", "Recovery/DFU", "0x1A2B3C4D5E", {}, WatchTransport::recoveryDfu};
const ConnectedWatch kisWatch{"Watch7,1",     "n207sap", "Apple Watch",      "DFU via Debug USB (KIS)",
                              "0x1A2B3C4D5E", {},        WatchTransport::kis};

QStringList linesAfterStart(const RestoreManager &manager)
{
    return manager.logText().mid(initialLog.size()).split(u'\n', Qt::SkipEmptyParts);
}

} // namespace

class RestoreRunTest : public QObject {
    Q_OBJECT

private slots:
    // The restore tool reads the application's own input (here a file), not a pipe nobody writes.
    void kisRestoreWithoutAnImage()
    {
        TestPaths paths;
        const QString cfgutil =
            FakeTools::write(paths.cfgutil(), FakeToolBehaviour::printingThen("erasing\n", "cat"));
        RestoreManager manager;
        {
            const StandardInputFrom redirected(QDir(paths.root()).filePath(QStringLiteral("input.txt")),
                                               "answer from the terminal\n");
            QCoro::waitFor(manager.startRestore(std::nullopt, kisWatch));
        }
        QTRY_VERIFY_WITH_TIMEOUT(!manager.isRestoring(), 20000);
        QStringList lines = linesAfterStart(manager);
        // The announced log file's name comes from the clock; its form is pinned where it is made.
        QVERIFY(lines.value(1).startsWith(startingLine + ToolLocator::logsDirectory() +
                                          QStringLiteral("/restore-")));
        lines.removeAt(1);
        QCOMPARE(FakeTools::recordedArguments(cfgutil),
                 (QStringList{QStringLiteral("--ecid"), QStringLiteral("0x1A2B3C4D5E"),
                              QStringLiteral("--progress"), QStringLiteral("restore")}));
        QCOMPARE(
            lines,
            (QStringList{
                QStringLiteral("Apple Configurator загрузит последнюю подписываемую версию для Watch7,1."),
                QStringLiteral("Транспорт: Apple Configurator KIS, ECID 0x1A2B3C4D5E."),
                QStringLiteral("erasing"), QStringLiteral("answer from the terminal"), successLine}));
        QVERIFY(manager.completedSuccessfully());
    }

    void logFileNameIsUtcWithoutColons()
    {
        const QDateTime moscow(QDate(2026, 11, 16), QTime(12, 47, 13, 512), Qt::OffsetFromUTC, 3 * 3600);
        QCOMPARE(RestoreLogFile::fileName(moscow), QStringLiteral("restore-2026-11-16T09-47-13Z.log"));
    }

    void refusalsLaunchNothing_data()
    {
        QTest::addColumn<bool>("kis");
        QTest::addColumn<bool>("withImage");
        QTest::addColumn<bool>("configuratorInstalled");
        QTest::addColumn<QString>("error");
        QTest::addColumn<bool>("errorLogged");

        QTest::newRow("recovery without an image")
            << false << false << true
            << QStringLiteral("Выберите полный Restore.ipsw для восстановления через Recovery/DFU.") << true;
        QTest::newRow("kis without Configurator")
            << true << true << false
            << QStringLiteral("Для восстановления из KIS/DFU установите Apple Configurator из App Store.")
            << true;
        QTest::newRow("image for another model")
            << false << true << true << QStringLiteral("IPSW не содержит модель Watch9,9 в BuildManifest.")
            << false;
    }

    void refusalsLaunchNothing()
    {
        QFETCH(bool, kis);
        QFETCH(bool, withImage);
        QFETCH(bool, configuratorInstalled);
        QFETCH(QString, error);
        QFETCH(bool, errorLogged);

        TestPaths paths;
        // Only the image check may run the restore tool.
        const QString tool = FakeTools::write(paths.tool(QStringLiteral("bin/idevicerestore")),
                                              FakeToolBehaviour::printing(imageInfo));
        if (configuratorInstalled)
            FakeTools::write(paths.cfgutil(), FakeToolBehaviour{});
        RestoreManager manager;
        QSignalSpy restoring(&manager, &RestoreManager::isRestoringChanged);
        ConnectedWatch target = kis ? kisWatch : recoveryWatch;
        target.productType = QStringLiteral("Watch9,9");

        QCoro::waitFor(manager.startRestore(
            withImage ? std::optional(QStringLiteral("/i/a.ipsw")) : std::nullopt, target));
        QCOMPARE(manager.lastError(), std::optional<QString>(error));
        QCOMPARE(manager.logText().endsWith(error + u'\n'), errorLogged);
        QCOMPARE(restoring.count(), 0);
        QCOMPARE(FakeTools::runCount(tool), withImage && configuratorInstalled ? 1 : 0); // the check only
        QCOMPARE(FakeTools::runCount(paths.cfgutil()), 0);
    }

    // Reads end mid-line (a line written in two pieces, a two-byte character split between
    // them) and each chunk becomes its own line; under a flood every byte still arrives before
    // the closing line.
    void outputReachesTheLogWhole()
    {
        TestPaths paths;
        QByteArray flood;
        for (int i = 0; i < 40000; ++i)
            flood += "progress line " + QByteArray::number(i) + '\n';
        FakeToolBehaviour output;
        output.chunks = {"Progress 5", "0%\n", "a\xd0", "\xb2z\n", flood};
        output.secondsBetweenChunks = 0.5;
        output.exitStatus = 3;
        FakeTools::write(paths.cfgutil(), output);
        RestoreManager manager;

        QCoro::waitFor(manager.startRestore(std::nullopt, kisWatch));
        QTRY_VERIFY_WITH_TIMEOUT(!manager.isRestoring(), 20000);
        QCOMPARE(linesAfterStart(manager).mid(3, 4),
                 (QStringList{QStringLiteral("Progress 5"), QStringLiteral("0%"), QStringLiteral("a\uFFFD"),
                              QStringLiteral("\uFFFDz")}));
        // Line feeds added after chunks that end mid-line aside.
        const QString closing = QStringLiteral("Восстановление завершилось с ошибкой 3.");
        QVERIFY(QString(manager.logText())
                    .remove(u'\n')
                    .endsWith(QString::fromUtf8(flood).remove(u'\n') + closing));
    }

    // The stop button interrupts the tool and its end is handled when it comes; the tool writing
    // all along is never cut off by a broken pipe. A start meanwhile changes nothing. (Stopping
    // before the application exits, by itself or past the bound, is checked through the window.)
    void interruptingTheTool_data()
    {
        QTest::addColumn<QByteArray>("shell");
        QTest::addColumn<QString>("ending");
        QTest::newRow("clean exit counts as success")
            << QByteArray("trap 'echo interrupted; exit 0' INT; while :; do echo tick; sleep 0.1; done")
            << QStringLiteral("interrupted\n") + successLine;
        QTest::newRow("ended by the interrupt")
            << QByteArray("echo tick; exec sleep 30")
            << QStringLiteral("Восстановление завершилось с ошибкой 2."); // SIGINT
    }
    void interruptingTheTool()
    {
        QFETCH(QByteArray, shell);
        QFETCH(QString, ending);
        TestPaths paths;
        const QString cfgutil = FakeTools::write(paths.cfgutil(), FakeToolBehaviour::running(shell));
        RestoreManager manager;
        QCoro::waitFor(manager.startRestore(std::nullopt, kisWatch));
        QTRY_VERIFY(manager.logText().endsWith(QStringLiteral("tick\n")));
        const qint64 processId = manager.process()->processId();

        QSignalSpy restoring(&manager, &RestoreManager::isRestoringChanged);
        QSignalSpy error(&manager, &RestoreManager::lastErrorChanged);
        QCoro::waitFor(manager.startRestore(std::nullopt, kisWatch));
        QCOMPARE(restoring.count() + error.count(), 0);
        QCOMPARE(manager.logText().count(startingLine), 1);
        QCOMPARE(FakeTools::runCount(cfgutil), 1);

        manager.cancelRestore();
        QTRY_VERIFY(!manager.isRestoring());
        QCOMPARE(manager.process(), nullptr);
        QVERIFY(manager.logText().contains(cancelLine));
        QVERIFY2(manager.logText().endsWith(ending + u'\n'), qPrintable(manager.logText().right(120)));
        const bool succeeded = ending.endsWith(successLine);
        QCOMPARE(manager.completedSuccessfully(), succeeded);
        QCOMPARE(manager.lastError(), succeeded ? std::nullopt : std::optional<QString>(ending));
        QCOMPARE(::kill(pid_t(processId), 0), -1);               // gone, and reaped
        manager.stopBeforeExit(std::chrono::milliseconds(1500)); // nothing runs: nothing happens
        QVERIFY(manager.logText().endsWith(ending + u'\n'));
        restoring.clear();
        error.clear();
        manager.cancelRestore(); // nothing runs: only the request is logged
        QVERIFY(manager.logText().endsWith(ending + u'\n' + cancelLine + u'\n'));
        QCOMPARE(restoring.count() + error.count(), 0);
    }
};

QTEST_GUILESS_MAIN(RestoreRunTest)
#include "RestoreRunTest.moc"
