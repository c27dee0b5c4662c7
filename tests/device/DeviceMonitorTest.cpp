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
    // One check as the monitor publishes it. A Recovery/DFU device on the bus is identified by
    // irecovery -q and Configurator is not asked; for a KIS device Configurator is asked, and
    // irecovery is not when Configurator names no watch. DFU and a device that is no watch: as the
    // real irecovery reads them (VirtualWatchStudioTest).
    void oneCheck_data()
    {
        QTest::addColumn<QByteArrayList>("bus");
        QTest::addColumn<bool>("hasIrecovery");
        QTest::addColumn<QByteArray>("list"); // what Configurator prints; empty: it is not installed
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("productType"); // empty: no watch
        QTest::addColumn<QString>("hint");
        const QByteArray valid = testData("cfgutil-list.json");
        const QByteArrayList kis{"1881"};
        QTest::newRow("nothing on the bus")
            << QByteArrayList{} << true << valid << 0 << QString() << noDeviceHint;
        QTest::newRow("Recovery") << QByteArrayList{"12a8", "1281"} << true << valid << 0 << "Watch6,18"
                                  << recoveryReadyHint;
        QTest::newRow("irecovery missing")
            << QByteArrayList{"1281"} << false << valid << 0 << QString() << unreadableHint;
        QTest::newRow("KIS, Configurator not installed")
            << kis << true << QByteArray() << 0 << QString() << noConfiguratorHint;
        QTest::newRow("KIS, non-zero status") << kis << true << valid << 2 << QString() << kisUnreadableHint;
        QTest::newRow("KIS, no device listed")
            << kis << true << testData("cfgutil-list-empty.json") << 0 << QString() << kisUnreadableHint;
        QTest::newRow("KIS, warning line before the JSON")
            << kis << true << "WARNING: slow\n" + valid << 0 << QString() << kisUnreadableHint;
    }

    void oneCheck()
    {
        QFETCH(QByteArrayList, bus);
        QFETCH(bool, hasIrecovery);
        QFETCH(QByteArray, list);
        QFETCH(int, status);
        QFETCH(QString, productType);
        QFETCH(QString, hint);

        TestPaths paths;
        attachUsbDevices(paths, bus);
        const QByteArray identification = testData("irecovery-q-recovery.txt");
        const QString irecovery = paths.tool(QStringLiteral("bin/irecovery"));
        if (hasIrecovery)
            FakeTools::write(irecovery, FakeToolBehaviour::printing(identification));
        if (!list.isEmpty())
            FakeTools::write(paths.cfgutil(), FakeToolBehaviour::printing(list, status));

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
        const bool kisOnBus = bus.contains("1881");
        QCOMPARE(FakeTools::runCount(paths.cfgutil()), kisOnBus && !list.isEmpty() ? 1 : 0);
        const bool identifies = !kisOnBus && !bus.isEmpty() && hasIrecovery;
        QCOMPARE(FakeTools::runCount(irecovery), identifies ? 1 : 0);
        if (identifies)
            QCOMPARE(FakeTools::recordedArguments(irecovery), QStringList{QStringLiteral("-q")});
    }

    // A KIS watch wins over a Recovery device, is named plainly when irecovery's device table has no
    // full line for it (named by the table: the real tools' run in VirtualWatchStudioTest) and is
    // not asked for again while it stays published.
    void kisWinsAndIsNotAskedAgainWhilePublished()
    {
        TestPaths paths;
        attachUsbDevices(paths, {"1281", "1881"});
        const QString irecovery = FakeTools::write(
            paths.tool(QStringLiteral("bin/irecovery")),
            FakeToolBehaviour::printing("Watch5,9 n1 0x1 0x2\nWatch5,9x n2 0x3 0x4 Other\n"));
        FakeTools::write(
            paths.cfgutil(),
            FakeToolBehaviour::printing(R"({"Output":{"x":{"deviceType":"Watch5,9","ECID":"0xABCDE"}}})"));

        DeviceMonitor monitor;
        QCoro::waitFor(monitor.poll());
        const QString mode = QStringLiteral("DFU via Debug USB (KIS)");
        const ConnectedWatch expected{
            "Watch5,9",
            "—",
            "Apple Watch",
            mode,
            "0xABCDE",
            "PRODUCT: Watch5,9\nMODEL: —\nNAME: Apple Watch\nMODE: " + mode + "\nECID: 0xABCDE",
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

    void overlappingChecksBothFinishAndTheLastOneWins()
    {
        TestPaths paths;
        attachUsbDevices(paths, {"1881"});
        const QString gate = QDir(paths.root()).filePath(QStringLiteral("gate"));
        FakeTools::write(paths.cfgutil(), FakeToolBehaviour::printingThen(testData("cfgutil-list.json"),
                                                                          "while [ ! -e '" + gate.toUtf8() +
                                                                              "' ]; do sleep 0.05; done"));
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
};

QTEST_GUILESS_MAIN(DeviceMonitorTest)
#include "DeviceMonitorTest.moc"
