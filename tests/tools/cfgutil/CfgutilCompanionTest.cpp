#include "CompanionTree.h"
#include "support/FakeTools.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"

#include <QProcess>

#include <QTest>
#include <memory>

namespace {

FakeToolBehaviour printingOnStandardError(const QByteArray &line, int status)
{
    FakeToolBehaviour behaviour;
    behaviour.extraShell = "echo '" + line + "' >&2";
    behaviour.exitStatus = status;
    return behaviour;
}

struct Finished {
    int status = -1;
    QByteArray standardOutput;
    QByteArray standardError;
};

Finished runCompanion(const QString &companion, const QStringList &arguments)
{
    QProcess process;
    process.start(companion, arguments);
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

// The tool ran with the application's environment rules for the tools folder it sits in.
void verifyToolEnvironment(const TestPaths &paths, const QString &tool)
{
    const QProcessEnvironment environment = FakeTools::recordedEnvironment(tool);
    QCOMPARE(environment.value(QStringLiteral("LC_ALL")), QStringLiteral("C"));
    QCOMPARE(environment.value(ToolLocator::librarySearchVariable()).split(u':').first(),
             paths.tool(QStringLiteral("lib")));
}

// What the companion prints for one device; the document is compact, its keys in order.
QByteArray listingOf(const QByteArray &ecid, const QByteArray &deviceType)
{
    const QByteArray quoted = '"' + ecid + '"';
    const QByteArray type = deviceType.isEmpty() ? QByteArray() : ",\"deviceType\":\"" + deviceType + '"';
    return "{\"Command\":\"list\",\"Devices\":[" + quoted + "],\"Output\":{" + quoted +
           ":{\"ECID\":" + quoted + type + "}},\"Type\":\"CommandOutput\"}\n";
}

} // namespace

class CfgutilCompanionTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TestPaths> m_paths;
    QString m_companion;

private slots:
    void init()
    {
        m_paths = std::make_unique<TestPaths>();
        m_companion = installCompanion(*m_paths);
    }
    void cleanup() { m_paths.reset(); }

    // A watch attached or none is listed by the real-tools run; the fakes stand in for watches.
    void listing_data()
    {
        QTest::addColumn<bool>("hasIrecovery");
        QTest::addColumn<FakeToolBehaviour>("irecovery");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("standardOutput");
        QTest::addColumn<QByteArray>("complaint"); // how standard error begins

        const auto printing = [](const char *fixture) {
            return FakeToolBehaviour::printing(testData(fixture));
        };
        QTest::newRow("KIS watch") << true << printing("irecovery-q-kis.txt") << 0
                                   << listingOf("0xB24F61A9C0D5E", "Watch7,5") << QByteArray();
        QTest::newRow("Recovery watch") << true << printing("irecovery-q-recovery.txt") << 0
                                        << listingOf("0xE1A52C8F4303A", "Watch6,18") << QByteArray();
        QTest::newRow("device this irecovery does not know")
            << true << printing("irecovery-q-unknown-device.txt") << 0 << listingOf("0x3F7C1E2D4A6B8", {})
            << QByteArray();
        // The application reads both streams as one: a failure must not look like a list.
        QTest::newRow("irecovery missing") << false << FakeToolBehaviour{} << 1 << QByteArray()
                                           << QByteArray("cfgutil: irecovery not found at ");
        QTest::newRow("another irecovery error")
            << true << printingOnStandardError("ERROR: Operation unsupported by driver", 255) << 1
            << QByteArray()
            << QByteArray(
                   "cfgutil: irecovery -q failed with status 255: ERROR: Operation unsupported by driver");
        QTest::newRow("listing without an ECID")
            << true << FakeToolBehaviour::printing("PRODUCT: Watch7,5\nECID: none\n") << 1 << QByteArray()
            << QByteArray("cfgutil: irecovery -q printed no readable ECID");
    }

    void listing()
    {
        QFETCH(bool, hasIrecovery);
        QFETCH(FakeToolBehaviour, irecovery);
        QFETCH(int, status);
        QFETCH(QByteArray, standardOutput);
        QFETCH(QByteArray, complaint);

        const TestPaths &paths = *m_paths;
        const QString tool = paths.tool(QStringLiteral("bin/irecovery"));
        if (hasIrecovery)
            FakeTools::write(tool, irecovery);

        const Finished run = runCompanion(m_companion, {"--format", "JSON", "list"});
        QCOMPARE(run.status, status);
        QCOMPARE(run.standardOutput, standardOutput);
        QVERIFY2(run.standardError.startsWith(complaint) &&
                     (run.standardError.isEmpty() == complaint.isEmpty()),
                 run.standardError.constData());
        if (hasIrecovery) {
            QCOMPARE(FakeTools::recordedArguments(tool), QStringList{QStringLiteral("-q")});
            verifyToolEnvironment(paths, tool);
        }
    }

    void commandLines_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("hasRestoreTool");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("restoreTarget"); // idevicerestore's last argument; empty: not run

        const QStringList restore{"--ecid", "0xB24F61A9C0D5E", "--progress", "restore"};
        QTest::newRow("latest signed firmware") << restore << true << 0 << "--latest";
        QTest::newRow("with an image") << restore + QStringList{"--ipsw", "/images/watch os.ipsw"} << true
                                       << 3 << "/images/watch os.ipsw";
        QTest::newRow("idevicerestore missing") << restore << false << 127 << QString();
        QTest::newRow("no arguments") << QStringList{} << true << 64 << QString();
        QTest::newRow("list in another order")
            << QStringList{"list", "--format", "JSON"} << true << 64 << QString();
    }

    void commandLines()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, hasRestoreTool);
        QFETCH(int, status);
        QFETCH(QString, restoreTarget);

        const TestPaths &paths = *m_paths;
        const QString tool = paths.tool(QStringLiteral("bin/idevicerestore"));
        if (hasRestoreTool) {
            FakeToolBehaviour restoring = FakeToolBehaviour::printing("Progress: 1%\n", status);
            restoring.extraShell = "echo 'Waiting for device' >&2";
            FakeTools::write(tool, restoring);
        }

        const Finished run = runCompanion(m_companion, arguments);
        QCOMPARE(run.status, status);
        QCOMPARE(FakeTools::runCount(tool), restoreTarget.isEmpty() ? 0 : 1);
        if (status == 64)
            QVERIFY(run.standardError.startsWith("usage: cfgutil --format JSON list\n"));
        if (status == 127)
            QVERIFY(run.standardError.startsWith("cfgutil: cannot run " + tool.toUtf8()));
        if (restoreTarget.isEmpty())
            return;

        // Both streams come through untouched: the companion has become idevicerestore.
        QCOMPARE(run.standardOutput, QByteArray("Progress: 1%\n"));
        QCOMPARE(run.standardError, QByteArray("Waiting for device\n"));
        QStringList recorded = FakeTools::recordedArguments(tool);
        const QString logsFolder = QDir(paths.applicationSupport()).filePath("Corvalin Studio/Logs");
        QVERIFY(recorded.value(6).startsWith("--logfile=" + logsFolder + "/restore-"));
        recorded.removeAt(6);
        QCOMPARE(recorded,
                 (QStringList{"--ecid", "0xB24F61A9C0D5E", "--erase", "--plain-progress", "--cache-path",
                              QDir(paths.downloads()).filePath("Corvalin Firmware"), restoreTarget}));
        verifyToolEnvironment(paths, tool);
    }
};

QTEST_GUILESS_MAIN(CfgutilCompanionTest)
#include "CfgutilCompanionTest.moc"
