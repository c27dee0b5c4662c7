#include "FakeUsbBus.h"
#include "device/DeviceMonitor.h"
#include "support/FakeTools.h"
#include "support/TestPaths.h"

#include <QTest>

// The loop runs in real time (a check, then 3 seconds of rest), so these tests count checks
// over a few seconds with bounds wide enough for a slow machine.
class DevicePollingLoopTest : public QObject {
    Q_OBJECT

private slots:
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

QTEST_GUILESS_MAIN(DevicePollingLoopTest)
#include "DevicePollingLoopTest.moc"
