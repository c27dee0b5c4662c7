#include "device/DeviceMonitor.h"
#include "FakeUsbBus.h"
#include "support/FakeTools.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"

#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QTest>

namespace {

const QString noDeviceHint = QStringLiteral("Подключите сервисный кабель и включите Recovery/DFU");
const QString unreadableHint = QStringLiteral("Устройство найдено, но Recovery/DFU не удалось прочитать");
const QString recoveryReadyHint = QStringLiteral("Recovery/DFU готов к восстановлению");
const QString kisReadyHint = QStringLiteral("KIS/DFU готов к восстановлению");
const QString kisUnreadableHint =
    QStringLiteral("Apple Configurator видит KIS, но не смог прочитать Apple Watch");
const QString noConfiguratorHint = QStringLiteral("Для KIS/DFU установите Apple Configurator из App Store");

// What the monitor publishes, in order.
struct Published : QObject {
    explicit Published(DeviceMonitor &monitor)
    {
        connect(&monitor, &DeviceMonitor::isCheckingChanged, this,
                [&] { log << (monitor.isChecking() ? "checking" : "idle"); });
        connect(&monitor, &DeviceMonitor::connectedWatchChanged, this,
                [&] { log << (monitor.connectedWatch() ? "watch" : "no watch"); });
        connect(&monitor, &DeviceMonitor::connectionHintChanged, this, [this] { log << "hint"; });
    }
    QStringList log;
};

} // namespace

class DeviceMonitorTest : public QObject {
    Q_OBJECT

private slots:
    // A Recovery/DFU device on the bus is identified by irecovery -q; Configurator is not asked.
    // DFU and a device that is no watch: as the real irecovery reads them (VirtualWatchStudioTest).
    void recoveryOutcomes_data()
    {
        QTest::addColumn<QByteArrayList>("bus");
        QTest::addColumn<bool>("hasIrecovery");
        QTest::addColumn<QString>("productType"); // empty: no watch
        QTest::addColumn<QString>("hint");
        QTest::newRow("nothing on the bus") << QByteArrayList{} << true << QString() << noDeviceHint;
        QTest::newRow("Recovery") << QByteArrayList{"12a8", "1281"} << true << "Watch6,18"
                                  << recoveryReadyHint;
        QTest::newRow("irecovery missing") << QByteArrayList{"1281"} << false << QString() << unreadableHint;
    }

    void recoveryOutcomes()
    {
        QFETCH(QByteArrayList, bus);
        QFETCH(bool, hasIrecovery);
        QFETCH(QString, productType);
        QFETCH(QString, hint);

        TestPaths paths;
        attachUsbDevices(paths, bus);
        const QByteArray identification = testData("irecovery-q-recovery.txt");
        const QString irecovery = paths.tool(QStringLiteral("bin/irecovery"));
        if (hasIrecovery)
            FakeTools::write(irecovery, FakeToolBehaviour::printing(identification));
        FakeTools::write(paths.cfgutil(), FakeToolBehaviour::printing(testData("cfgutil-list.json")));

        DeviceMonitor monitor;
        Published published(monitor);
        QCoro::waitFor(monitor.poll());

        QCOMPARE(monitor.isChecking(), false);
        QCOMPARE(monitor.connectionHint(), hint);
        QCOMPARE(monitor.connectedWatch() ? monitor.connectedWatch()->productType : QString(), productType);
        QCOMPARE(published.log,
                 (QStringList{"checking", "idle", productType.isEmpty() ? "no watch" : "watch", "hint"}));
        if (monitor.connectedWatch())
            QCOMPARE(monitor.connectedWatch()->rawOutput, QString::fromUtf8(identification));
        QCOMPARE(FakeTools::runCount(paths.cfgutil()), 0);
        const bool identifies = hint != noDeviceHint;
        QCOMPARE(FakeTools::runCount(irecovery), identifies && hasIrecovery ? 1 : 0);
        if (identifies && hasIrecovery)
            QCOMPARE(FakeTools::recordedArguments(irecovery), QStringList{QStringLiteral("-q")});
    }

    // A KIS watch wins over a Recovery device, is named from irecovery's device table (or plainly
    // when the table has no full line for it) and is not asked for again while it stays published.
    void kisWinsAndIsNotAskedAgainWhilePublished_data()
    {
        QTest::addColumn<QByteArray>("deviceTable");
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<QStringList>("identity"); // product type, model, name, ECID
        QTest::newRow("named by the table")
            << testData("irecovery-devices-excerpt.txt") << testData("cfgutil-list.json")
            << QStringList{"Watch7,5", "n210ap", "Apple Watch Ultra 2", "0xB24F61A9C0D5E"};
        QTest::newRow("table without a full line for it")
            << QByteArray("Watch5,9 n1 0x1 0x2\nWatch5,9x n2 0x3 0x4 Other\n")
            << QByteArray(R"({"Output":{"x":{"deviceType":"Watch5,9","ECID":"0xABCDE"}}})")
            << QStringList{"Watch5,9", "—", "Apple Watch", "0xABCDE"};
    }
    void kisWinsAndIsNotAskedAgainWhilePublished()
    {
        QFETCH(QByteArray, deviceTable);
        QFETCH(QByteArray, list);
        QFETCH(QStringList, identity);
        TestPaths paths;
        attachUsbDevices(paths, {"1281", "1881"});
        const QString irecovery = FakeTools::write(paths.tool(QStringLiteral("bin/irecovery")),
                                                   FakeToolBehaviour::printing(deviceTable));
        FakeTools::write(paths.cfgutil(), FakeToolBehaviour::printing(list));

        DeviceMonitor monitor;
        QCoro::waitFor(monitor.poll());
        const QString mode = QStringLiteral("DFU via Debug USB (KIS)");
        const ConnectedWatch expected{identity[0],
                                      identity[1],
                                      identity[2],
                                      mode,
                                      identity[3],
                                      "PRODUCT: " + identity[0] + "\nMODEL: " + identity[1] + "\nNAME: " +
                                          identity[2] + "\nMODE: " + mode + "\nECID: " + identity[3],
                                      WatchTransport::kis};
        QCOMPARE(monitor.connectedWatch(), std::optional(expected));
        QCOMPARE(monitor.connectionHint(), kisReadyHint);
        QCOMPARE(FakeTools::recordedArguments(paths.cfgutil()), (QStringList{"--format", "JSON", "list"}));
        QCOMPARE(FakeTools::recordedArguments(irecovery), QStringList{QStringLiteral("--devices")});
        QCOMPARE(FakeTools::runCount(irecovery), 1);

        Published published(monitor);
        QCoro::waitFor(monitor.poll());
        QCOMPARE(published.log, (QStringList{"checking", "idle", "hint"}));
        QCOMPARE(monitor.connectedWatch(), std::optional(expected));
        QCOMPARE(monitor.connectionHint(), kisReadyHint);
        QCOMPARE(FakeTools::runCount(paths.cfgutil()), 1);
        QCOMPARE(FakeTools::runCount(irecovery), 1);

        // Leaving the bus is what removes a KIS watch.
        attachUsbDevices(paths, {});
        QCoro::waitFor(monitor.poll());
        QVERIFY(!monitor.connectedWatch());
        QCOMPARE(monitor.connectionHint(), noDeviceHint);
    }

    void kisFailures_data()
    {
        QTest::addColumn<bool>("hasConfigurator");
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("hint");

        const QByteArray valid = testData("cfgutil-list.json");
        QTest::newRow("Configurator not installed") << false << valid << 0 << noConfiguratorHint;
        QTest::newRow("non-zero status") << true << valid << 2 << kisUnreadableHint;
        QTest::newRow("no device listed")
            << true << testData("cfgutil-list-empty.json") << 0 << kisUnreadableHint;
        QTest::newRow("warning line before the JSON")
            << true << QByteArray("WARNING: slow\n") + valid << 0 << kisUnreadableHint;
        QTest::newRow("ECID as a number")
            << true << QByteArray(R"({"Output":{"x":{"deviceType":"Watch5,9","ECID":703710}}})") << 0
            << kisUnreadableHint;
    }

    void kisFailures()
    {
        QFETCH(bool, hasConfigurator);
        QFETCH(QByteArray, list);
        QFETCH(int, status);
        QFETCH(QString, hint);

        TestPaths paths;
        attachUsbDevices(paths, {"1881"});
        const QString irecovery = FakeTools::write(paths.tool(QStringLiteral("bin/irecovery")),
                                                   FakeToolBehaviour::printing("PRODUCT: Watch5,9\n"));
        if (hasConfigurator)
            FakeTools::write(paths.cfgutil(), FakeToolBehaviour::printing(list, status));

        DeviceMonitor monitor;
        Published published(monitor);
        QCoro::waitFor(monitor.poll());

        QCOMPARE(published.log, (QStringList{"checking", "idle", "no watch", "hint"}));
        QCOMPARE(monitor.connectionHint(), hint);
        QCOMPARE(FakeTools::runCount(paths.cfgutil()), hasConfigurator ? 1 : 0);
        QCOMPARE(FakeTools::runCount(irecovery), 0);
    }

    void overlappingChecksBothFinishAndTheLastOneWins()
    {
        TestPaths paths;
        attachUsbDevices(paths, {"1881"});
        const QString gate = QDir(paths.root()).filePath(QStringLiteral("gate"));
        FakeToolBehaviour heldBack = FakeToolBehaviour::printing(testData("cfgutil-list.json"));
        heldBack.extraShell = "while [ ! -e '" + gate.toUtf8() + "' ]; do sleep 0.05; done";
        FakeTools::write(paths.cfgutil(), heldBack);
        FakeTools::write(paths.tool(QStringLiteral("bin/irecovery")),
                         FakeToolBehaviour::printing(testData("irecovery-q-recovery.txt")));

        DeviceMonitor monitor;
        QCoro::Task<> first = monitor.poll();
        QTRY_COMPARE(FakeTools::runCount(paths.cfgutil()), 1);

        attachUsbDevices(paths, {"1281"});
        QCoro::waitFor(monitor.poll());
        QVERIFY(!first.isReady());
        QCOMPARE(monitor.isChecking(), false);
        QVERIFY(monitor.connectedWatch());
        QCOMPARE(monitor.connectedWatch()->productType, QStringLiteral("Watch6,18"));

        QFile(gate).open(QIODevice::WriteOnly);
        QCoro::waitFor(first);
        QCOMPARE(monitor.isChecking(), false);
        QVERIFY(monitor.connectedWatch());
        QCOMPARE(monitor.connectedWatch()->mode, QStringLiteral("DFU via Debug USB (KIS)"));
        QCOMPARE(monitor.connectionHint(), kisReadyHint);
    }

    // The loop runs in real time (a check, then 3 seconds of rest), so this counts checks over a
    // few seconds with bounds wide enough for a slow machine.
    void startingTwiceRunsOneLoopThatOutlivesNoMonitor()
    {
        TestPaths paths;
        attachUsbDevices(paths, {"1281"});
        const QString irecovery = FakeTools::write(paths.tool(QStringLiteral("bin/irecovery")),
                                                   FakeToolBehaviour::printing("PRODUCT: Watch6,1\n"));

        auto *monitor = new DeviceMonitor;
        monitor->start();
        QVERIFY(monitor->isChecking()); // the first check does not wait
        monitor->start();
        QTRY_VERIFY(monitor->connectedWatch());

        // One loop checks at once and again after 3 seconds; two would have checked 4 times.
        QTest::qWait(4500);
        const int runs = FakeTools::runCount(irecovery);
        QVERIFY2(runs >= 1 && runs <= 2, qPrintable(QString::number(runs)));

        QTRY_COMPARE(monitor->isChecking(), false);
        delete monitor;
        const int runsBeforeDestruction = FakeTools::runCount(irecovery);
        QTest::qWait(3500);
        QCOMPARE(FakeTools::runCount(irecovery), runsBeforeDestruction);
    }
};

QTEST_GUILESS_MAIN(DeviceMonitorTest)
#include "DeviceMonitorTest.moc"
