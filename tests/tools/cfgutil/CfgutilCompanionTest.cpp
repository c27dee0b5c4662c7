#include "CompanionTree.h"
#include "support/FakeTools.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

#include <csignal>

namespace {

QByteArray testData(const char *name)
{
    QFile file(QStringLiteral(CORVALIN_TEST_DATA "/") + QString::fromLatin1(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing test data %s", name);
    return file.readAll();
}

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

Finished runCompanion(const TestPaths &paths, const QString &companion, const QStringList &arguments)
{
    QProcess process;
    process.setProcessEnvironment(companionEnvironment(paths));
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

} // namespace

using DeviceTypes = QMap<QString, QString>; // ECID → deviceType, empty when not known

class CfgutilCompanionTest : public QObject {
    Q_OBJECT

private slots:
    void listing_data()
    {
        QTest::addColumn<bool>("hasIrecovery");
        QTest::addColumn<FakeToolBehaviour>("irecovery");
        QTest::addColumn<int>("status");
        QTest::addColumn<DeviceTypes>("devices");
        QTest::addColumn<QString>("complaint"); // on standard error when the status is not 0

        const auto printing = [](const char *fixture) {
            return FakeToolBehaviour::printing(testData(fixture));
        };
        QTest::newRow("KIS watch") << true << printing("irecovery-q-kis.txt") << 0
                                   << DeviceTypes{{"0xB24F61A9C0D5E", "Watch7,5"}} << QString();
        QTest::newRow("Recovery watch") << true << printing("irecovery-q-recovery.txt") << 0
                                        << DeviceTypes{{"0xE1A52C8F4303A", "Watch6,18"}} << QString();
        QTest::newRow("device this irecovery does not know")
            << true << printing("irecovery-q-unknown-device.txt") << 0 << DeviceTypes{{"0x3F7C1E2D4A6B8", ""}}
            << QString();
        QTest::newRow("nothing attached")
            << true << printingOnStandardError("ERROR: Unable to connect to device", 255) << 0
            << DeviceTypes{} << QString();
        QTest::newRow("irecovery missing")
            << false << FakeToolBehaviour{} << 1 << DeviceTypes{} << "cfgutil: irecovery not found at ";
        QTest::newRow("another irecovery error")
            << true << printingOnStandardError("ERROR: Operation unsupported by driver", 255) << 1
            << DeviceTypes{}
            << "cfgutil: irecovery -q failed with status 255: ERROR: Operation unsupported by driver";
        QTest::newRow("listing without an ECID")
            << true << FakeToolBehaviour::printing("PRODUCT: Watch7,5\nECID: none\n") << 1 << DeviceTypes{}
            << "cfgutil: irecovery -q printed no readable ECID";
        FakeToolBehaviour crashing;
        crashing.extraShell = "kill -SEGV $$";
        QTest::newRow("irecovery crashes")
            << true << crashing << 1 << DeviceTypes{} << "cfgutil: irecovery -q ended abnormally";
    }

    void listing()
    {
        QFETCH(bool, hasIrecovery);
        QFETCH(FakeToolBehaviour, irecovery);
        QFETCH(int, status);
        QFETCH(DeviceTypes, devices);
        QFETCH(QString, complaint);

        TestPaths paths;
        const QString companion = installCompanion(paths);
        const QString tool = paths.tool(QStringLiteral("bin/irecovery"));
        if (hasIrecovery)
            FakeTools::write(tool, irecovery);

        const Finished run = runCompanion(paths, companion, {"--format", "JSON", "list"});
        QCOMPARE(run.status, status);
        if (hasIrecovery) {
            QCOMPARE(FakeTools::recordedArguments(tool), QStringList{QStringLiteral("-q")});
            verifyToolEnvironment(paths, tool);
        }
        if (status != 0) {
            // The application reads both streams as one: a failure must not look like a list.
            QCOMPARE(run.standardOutput, QByteArray());
            QVERIFY2(QString::fromUtf8(run.standardError).startsWith(complaint),
                     run.standardError.constData());
            return;
        }

        QCOMPARE(run.standardError, QByteArray());
        QJsonParseError error;
        const QJsonObject document = QJsonDocument::fromJson(run.standardOutput, &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(document.value("Command").toString(), QStringLiteral("list"));
        QCOMPARE(document.value("Type").toString(), QStringLiteral("CommandOutput"));
        QCOMPARE(document.value("Devices").toArray().toVariantList(),
                 QVariantList(devices.keyBegin(), devices.keyEnd()));
        const QJsonObject output = document.value("Output").toObject();
        QCOMPARE(output.keys(), devices.keys());
        for (auto device = devices.cbegin(); device != devices.cend(); ++device) {
            const QJsonObject entry = output.value(device.key()).toObject();
            QCOMPARE(entry.value("ECID").toString(), device.key());
            QCOMPARE(entry.contains("deviceType"), !device.value().isEmpty());
            if (!device.value().isEmpty())
                QCOMPARE(entry.value("deviceType").toString(), device.value());
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
        QTest::newRow("restore without progress")
            << QStringList{"--ecid", "0xB24F61A9C0D5E", "restore"} << true << 64 << QString();
        QTest::newRow("empty ECID") << QStringList{"--ecid", "", "--progress", "restore"} << true << 64
                                    << QString();
        QTest::newRow("image option without a path")
            << restore + QStringList{"--ipsw"} << true << 64 << QString();
    }

    void commandLines()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, hasRestoreTool);
        QFETCH(int, status);
        QFETCH(QString, restoreTarget);

        TestPaths paths;
        const QString companion = installCompanion(paths);
        const QString tool = paths.tool(QStringLiteral("bin/idevicerestore"));
        if (hasRestoreTool) {
            FakeToolBehaviour restoring = FakeToolBehaviour::printing("Progress: 1%\n", status);
            restoring.extraShell = "echo 'Waiting for device' >&2";
            FakeTools::write(tool, restoring);
        }

        const Finished run = runCompanion(paths, companion, arguments);
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
        const QStringList recorded = FakeTools::recordedArguments(tool);
        QCOMPARE(recorded.size(), 8);
        QCOMPARE(recorded.mid(0, 6),
                 (QStringList{"--ecid", "0xB24F61A9C0D5E", "--erase", "--plain-progress", "--cache-path",
                              QDir(paths.downloads()).filePath("Corvalin Firmware")}));
        const QFileInfo logFile(recorded.at(6).mid(QStringLiteral("--logfile=").size()));
        QVERIFY(recorded.at(6).startsWith(QStringLiteral("--logfile=")));
        QCOMPARE(logFile.absolutePath(), QDir(paths.applicationSupport()).filePath("Corvalin Studio/Logs"));
        QVERIFY(logFile.fileName().startsWith(QStringLiteral("restore-")) &&
                !logFile.fileName().contains(u':'));
        QCOMPARE(recorded.at(7), restoreTarget);
        verifyToolEnvironment(paths, tool);
    }

    void interruptReachesIdevicerestore()
    {
        TestPaths paths;
        const QString companion = installCompanion(paths);
        FakeToolBehaviour waiting;
        waiting.extraShell = "trap 'echo cleaning up; exit 5' INT; echo ready; while :; do sleep 0.05; done";
        FakeTools::write(paths.tool(QStringLiteral("bin/idevicerestore")), waiting);

        QProcess process;
        process.setProcessEnvironment(companionEnvironment(paths));
        process.start(companion, {"--ecid", "0xB24F61A9C0D5E", "--progress", "restore"});
        QByteArray output;
        QTRY_VERIFY_WITH_TIMEOUT((output += process.readAllStandardOutput()).contains("ready\n"), 10000);
        ::kill(pid_t(process.processId()), SIGINT);
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 5);
        QCOMPARE(output + process.readAllStandardOutput(), QByteArray("ready\ncleaning up\n"));
    }
};

QTEST_GUILESS_MAIN(CfgutilCompanionTest)
#include "CfgutilCompanionTest.moc"
