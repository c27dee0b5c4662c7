#include "CompanionTree.h"
#include "device/DeviceMonitor.h"
#include "device/FakeUsbBus.h"
#include "restore/RestoreManager.h"
#include "support/FakeTools.h"
#include "support/RealTools.h"
#include "support/TestPaths.h"

#include <QCoroTask>
#include <QProcess>
#include <QTest>

namespace {

const QString kisMode = QStringLiteral("DFU via Debug USB (KIS)");
const QString kisUnreadableHint =
    QStringLiteral("Apple Configurator видит KIS, но не смог прочитать Apple Watch");

// irecovery answers the query from one file and the device table from another.
void writeIrecovery(const TestPaths &paths)
{
    const QString tool = paths.tool(QStringLiteral("bin/irecovery"));
    writeFile(tool + QStringLiteral(".query"), testData("irecovery-q-kis.txt"));
    writeFile(tool + QStringLiteral(".table"), testData("irecovery-devices-excerpt.txt"));
    FakeToolBehaviour behaviour;
    behaviour.extraShell = "if [ \"$1\" = -q ]; then cat \"$0.query\"; else cat \"$0.table\"; fi";
    FakeTools::write(tool, behaviour);
}

// idevicerestore vouches for the watch's model, then restores until it is interrupted.
QString writeIdevicerestore(const TestPaths &paths)
{
    FakeToolBehaviour behaviour;
    behaviour.extraShell =
        "if [ \"$1\" = --ipsw-info ]; then echo 'Supported Product Types: Watch7,5'; exit 0; fi\n"
        "trap 'echo stopped by interrupt; exit 1' INT; echo ready; while :; do sleep 0.05; done";
    return FakeTools::write(paths.tool(QStringLiteral("bin/idevicerestore")), behaviour);
}

} // namespace

class KisCompanionPathTest : public QObject {
    Q_OBJECT

private slots:
    void kisWatchIsFoundAndRestoredThroughTheCompanion()
    {
        TestPaths paths;
        const QString companion = installCompanion(paths);
        attachUsbDevices(paths, {"1881"});
        writeIrecovery(paths);
        writeIdevicerestore(paths);

        DeviceMonitor monitor;
        QCoro::waitFor(monitor.poll());
        QVERIFY(monitor.connectedWatch());
        const ConnectedWatch watch = *monitor.connectedWatch();
        QCOMPARE(watch,
                 (ConnectedWatch{"Watch7,5", "n210ap", "Apple Watch Ultra 2", kisMode, "0xB24F61A9C0D5E",
                                 "PRODUCT: Watch7,5\nMODEL: n210ap\nNAME: Apple Watch Ultra 2\n"
                                 "MODE: DFU via Debug USB (KIS)\nECID: 0xB24F61A9C0D5E"}));
        QCOMPARE(monitor.connectionHint(), QStringLiteral("KIS/DFU готов к восстановлению"));

        RestoreManager manager;
        const QString image =
            QDir(paths.downloads()).filePath(QStringLiteral("Corvalin Firmware/watchOS 11.ipsw"));
        QCoro::waitFor(manager.startRestore(image, watch));
        QTRY_VERIFY_WITH_TIMEOUT(manager.logText().endsWith(QStringLiteral("ready\n")), 10000);
        QVERIFY(manager.logText().contains(QStringLiteral("Совместимость подтверждена: Watch7,5.\n")));

        QVERIFY(manager.process());
        QCOMPARE(manager.process()->program(), companion);
        QCOMPARE(manager.process()->arguments(),
                 (QStringList{"--ecid", "0xB24F61A9C0D5E", "--progress", "restore", "--ipsw", image}));

        // The stop button interrupts the companion, which is idevicerestore by now.
        manager.cancelRestore();
        QTRY_VERIFY_WITH_TIMEOUT(!manager.isRestoring(), 10000);
        QVERIFY(manager.logText().endsWith(QStringLiteral("stopped by interrupt\n"
                                                          "Восстановление завершилось с ошибкой 1.\n")));
    }

    // With the real tools and no watch attached, a KIS ID on the bus ends in the could-not-read
    // hint: irecovery finds nothing and the companion lists nothing.
    void realToolsWithoutAWatchListNothing()
    {
        if (RealTools::folder().isEmpty())
            QSKIP(RealTools::unavailableMessage());
        TestPaths paths;
        QVERIFY(RealTools::installInto(paths));
        const QString companion = installCompanion(paths);

        QProcess process;
        process.start(companion, {"--format", "JSON", "list"});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(process.readAllStandardError(), QByteArray());
        QCOMPARE(process.readAllStandardOutput(),
                 QByteArray(R"({"Command":"list","Devices":[],"Output":{},"Type":"CommandOutput"})"
                            "\n"));

        attachUsbDevices(paths, {"1881"});
        DeviceMonitor monitor;
        QCoro::waitFor(monitor.poll());
        QVERIFY(!monitor.connectedWatch());
        QCOMPARE(monitor.connectionHint(), kisUnreadableHint);
    }
};

QTEST_GUILESS_MAIN(KisCompanionPathTest)
#include "KisCompanionPathTest.moc"
