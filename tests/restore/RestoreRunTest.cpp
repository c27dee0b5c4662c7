#include "restore/RestoreManager.h"
#include "restore/command/RestoreLogFile.h"
#include "support/FakeTools.h"
#include "support/StandardInputFrom.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"

#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>

#include <csignal>

namespace {

const QString initialLog = QStringLiteral("Corvalin Studio готов к работе.\n");
const QString startingLine = QStringLiteral("Запуск восстановления. Журнал: ");
const QString cancelLine = QStringLiteral("Пользователь запросил остановку процесса.");
const QString successLine = QStringLiteral("Восстановление завершено успешно.");

const QByteArray imageInfo = testData("idevicerestore-ipsw-info.txt"); // lists Watch7,1

ConnectedWatch watch(const QString &mode, WatchTransport transport)
{
    return {QStringLiteral("Watch7,1"),
            QStringLiteral("n207sap"),
            QStringLiteral("Apple Watch"),
            mode,
            QStringLiteral("0x1A2B3C4D5E"),
            QString(),
            transport};
}
const ConnectedWatch recoveryWatch = watch(QStringLiteral("Recovery/DFU"), WatchTransport::recoveryDfu);
const ConnectedWatch kisWatch = watch(QStringLiteral("DFU via Debug USB (KIS)"), WatchTransport::kis);

// The restore tool answers the information query from "$0.info"; `afterInfo` runs after it.
QString writeRestoreTool(const TestPaths &paths, const QByteArray &afterInfo = {})
{
    const QString tool = paths.tool(QStringLiteral("bin/idevicerestore"));
    QDir().mkpath(QFileInfo(tool).path());
    writeFile(tool + QStringLiteral(".info"), imageInfo);
    FakeToolBehaviour behaviour;
    behaviour.extraShell = "if [ \"$1\" = --ipsw-info ]; then cat \"$0.info\"; " + afterInfo + " exit 0; fi";
    return FakeTools::write(tool, behaviour);
}

QStringList linesAfterStart(const RestoreManager &manager)
{
    return manager.logText().mid(initialLog.size()).split(u'\n', Qt::SkipEmptyParts);
}

} // namespace

class RestoreRunTest : public QObject {
    Q_OBJECT

private:
    // Starts a restore and waits until its end has been handled (or it was refused).
    static void runToEnd(RestoreManager &manager, std::optional<QString> image, const ConnectedWatch &target)
    {
        QCoro::waitFor(manager.startRestore(image, target));
        QTRY_VERIFY_WITH_TIMEOUT(!manager.isRestoring(), 20000);
    }

private slots:
    void kisRestoreWithoutAnImage()
    {
        TestPaths paths;
        const QString cfgutil = FakeTools::write(paths.cfgutil(), FakeToolBehaviour::printing("erasing\n"));
        RestoreManager manager;

        runToEnd(manager, std::nullopt, kisWatch);
        QStringList lines = linesAfterStart(manager);
        // The announced log file's name comes from the clock; its form is pinned where it is made.
        QVERIFY(lines.value(1).startsWith(startingLine + ToolLocator::logsDirectory() +
                                          QStringLiteral("/restore-")));
        lines.removeAt(1);
        QCOMPARE(FakeTools::recordedArguments(cfgutil),
                 (QStringList{QStringLiteral("--ecid"), QStringLiteral("0x1A2B3C4D5E"),
                              QStringLiteral("--progress"), QStringLiteral("restore")}));
        QCOMPARE(lines,
                 (QStringList{QStringLiteral(
                                  "Apple Configurator загрузит последнюю подписываемую версию для Watch7,1."),
                              QStringLiteral("Транспорт: Apple Configurator KIS, ECID 0x1A2B3C4D5E."),
                              QStringLiteral("erasing"), successLine}));
        QVERIFY(manager.completedSuccessfully());
    }

    void logFileNameIsUtcWithoutColons()
    {
        const QDateTime utc(QDate(2026, 11, 16), QTime(9, 47, 13, 512), Qt::UTC);
        QCOMPARE(RestoreLogFile::fileName(utc), QStringLiteral("restore-2026-11-16T09-47-13Z.log"));
        const QDateTime moscow(QDate(2026, 11, 16), QTime(12, 47, 13), Qt::OffsetFromUTC, 3 * 3600);
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
        const QString tool = writeRestoreTool(paths);
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

        runToEnd(manager, std::nullopt, kisWatch);
        QCOMPARE(linesAfterStart(manager).mid(3, 4),
                 (QStringList{QStringLiteral("Progress 5"), QStringLiteral("0%"), QStringLiteral("a\uFFFD"),
                              QStringLiteral("\uFFFDz")}));
        // Line feeds added after chunks that end mid-line aside.
        const QString closing = QStringLiteral("Восстановление завершилось с ошибкой 3.");
        QVERIFY(QString(manager.logText())
                    .remove(u'\n')
                    .endsWith(QString::fromUtf8(flood).remove(u'\n') + closing));
    }

    void missingRestoreToolFailsToLaunch()
    {
        TestPaths paths;
        // The tool answers the check and then disappears before the restore is launched.
        writeRestoreTool(paths, "rm -f \"$0\";");
        RestoreManager manager;

        // The failed launch is already handled when startRestore returns.
        QCoro::waitFor(manager.startRestore(QStringLiteral("/i/watchOS_10.ipsw"), recoveryWatch));
        QVERIFY(!manager.isRestoring());
        QVERIFY(manager.lastError() && !manager.lastError()->isEmpty());
        QVERIFY(
            manager.logText().endsWith(QStringLiteral("Ошибка запуска: ") + *manager.lastError() + u'\n'));
        QCOMPARE(manager.process(), nullptr);
        QVERIFY(!manager.completedSuccessfully());
    }

    // A tool that reads its input sees the application's (here a file), not a pipe nobody writes.
    void restoreToolInheritsStandardInput()
    {
        TestPaths paths;
        FakeToolBehaviour reader;
        reader.extraShell = "cat";
        FakeTools::write(paths.cfgutil(), reader);

        RestoreManager manager;
        {
            const StandardInputFrom redirected(QDir(paths.root()).filePath(QStringLiteral("input.txt")),
                                               "answer from the terminal\n");
            QCoro::waitFor(manager.startRestore(std::nullopt, kisWatch));
        }
        QTRY_VERIFY_WITH_TIMEOUT(!manager.isRestoring(), 10000);
        QVERIFY(
            manager.logText().endsWith(QStringLiteral("answer from the terminal\n") + successLine + u'\n'));
    }

    // The stop button interrupts the tool and its end is handled when it comes. Before the
    // application exits the tool is interrupted the same way and given the bound to end, killed
    // only when it will not; either way its end has been handled when the call returns, and the
    // tool writing all along was never cut off by a broken pipe. A start meanwhile changes nothing.
    void interruptingTheTool_data()
    {
        QTest::addColumn<QByteArray>("shell");
        QTest::addColumn<bool>("beforeExit");
        QTest::addColumn<QString>("ending");
        const QByteArray ticking = "while :; do echo tick; sleep 0.1; done";
        const QByteArray cleanExit = "trap 'echo interrupted; exit 0' INT; " + ticking;
        const QString success = QStringLiteral("interrupted\n") + successLine;
        QTest::newRow("stop: clean exit counts as success") << cleanExit << false << success;
        QTest::newRow("stop: ended by the interrupt")
            << QByteArray("echo tick; exec sleep 30") << false
            << QStringLiteral("Восстановление завершилось с ошибкой 2."); // SIGINT
        QTest::newRow("exit: ends on the interrupt") << cleanExit << true << success;
        QTest::newRow("exit: ignores the interrupt")
            << "trap '' INT; " + ticking << true
            << QStringLiteral("Восстановление завершилось с ошибкой 9."); // SIGKILL
    }
    void interruptingTheTool()
    {
        QFETCH(QByteArray, shell);
        QFETCH(bool, beforeExit);
        QFETCH(QString, ending);
        TestPaths paths;
        FakeToolBehaviour behaviour;
        behaviour.extraShell = shell;
        const QString cfgutil = FakeTools::write(paths.cfgutil(), behaviour);
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

        if (beforeExit) {
            manager.stopBeforeExit(std::chrono::milliseconds(1500));
        } else {
            manager.cancelRestore();
            QTRY_VERIFY(!manager.isRestoring());
        }
        QVERIFY(!manager.isRestoring());
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

    void toolOutlivingTheManagerIsLeftAlone()
    {
        TestPaths paths;
        FakeToolBehaviour slow = FakeToolBehaviour::printing("late\n");
        slow.secondsBeforeOutput = 0.3;
        const QString cfgutil = FakeTools::write(paths.cfgutil(), slow);
        auto *manager = new RestoreManager;
        QCoro::waitFor(manager->startRestore(std::nullopt, kisWatch));
        const QPointer<QProcess> process = manager->process();
        QVERIFY(process);
        delete manager;
        // The process cleans itself up once the tool has ended; its handlers drop the work.
        QTRY_VERIFY_WITH_TIMEOUT(process.isNull(), 20000);
        QCOMPARE(FakeTools::runCount(cfgutil), 1);
    }
};

QTEST_GUILESS_MAIN(RestoreRunTest)
#include "RestoreRunTest.moc"
