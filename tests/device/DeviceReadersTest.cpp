#include "device/ConfiguratorDeviceList.h"
#include "device/UsbListing.h"
#include "device/UsbProductMatch.h"
#include "device/identity/IdentificationListing.h"
#include "support/FakeTools.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"

#include <QCoroTask>
#include <QDir>
#include <QTest>

namespace {

QString text(const char *name)
{
    return QString::fromUtf8(testData(name));
}

const QList<int> recoveryIDs{4642, 4647, 4736, 4737, 4738, 4739, 4920, 6273};

} // namespace

class DeviceReadersTest : public QObject {
    Q_OBJECT

private slots:
    void identification_data()
    {
        QTest::addColumn<QString>("output");
        // Empty product: no watch expected.
        QTest::addColumn<QStringList>("expected"); // product, model, name, mode, ecid

        // The real irecovery's output: VirtualWatchStudioTest's detection.
        QTest::newRow("lower-case key, nothing else")
            << QStringLiteral("product: Watch5,9")
            << QStringList{"Watch5,9", "—", "Apple Watch", "Recovery/DFU", "—"};
        QTest::newRow("prefix is case-sensitive") << QStringLiteral("PRODUCT: watch5,9") << QStringList{};
        QTest::newRow("last duplicate wins, later colons stay in the value")
            << QStringLiteral("PRODUCT: iPhone10,3\nECID: a:b:c\nPRODUCT: Watch6,1\n")
            << QStringList{"Watch6,1", "—", "Apple Watch", "Recovery/DFU", "a:b:c"};
        QTest::newRow("blanks trimmed, carriage return kept, short pieces ignored")
            << QStringLiteral("\t PRODUCT\u00a0:\u2003Watch6,1 \r\nMODEL:\n:ECID: 0x1\nNAME: \nMODE:  x\t")
            << QStringList{"Watch6,1 \r", "—", "", "x", "—"};
    }

    void identification()
    {
        QFETCH(QString, output);
        QFETCH(QStringList, expected);
        const std::optional<ConnectedWatch> watch = IdentificationListing::recoveryWatch(output);
        if (expected.isEmpty()) {
            QVERIFY(!watch);
            return;
        }
        QVERIFY(watch);
        QCOMPARE((QStringList{watch->productType, watch->model, watch->name, watch->mode, watch->ecid}),
                 expected);
        QCOMPARE(watch->rawOutput, output);
    }

    void productMatch_data()
    {
        QTest::addColumn<QString>("listing");
        QTest::addColumn<int>("firstListed"); // 0: none
        QTest::addColumn<bool>("listsKIS");

        QTest::newRow("recorded DFU") << text("ioreg-dfu.txt") << 4647 << false;
        QTest::newRow("recorded Recovery") << text("ioreg-recovery.txt") << 4737 << false;
        QTest::newRow("recorded, nothing attached") << text("ioreg-empty.txt") << 0 << false;
        QTest::newRow("Recovery and KIS")
            << text("ioreg-recovery.txt") + QStringLiteral("\"idProduct\" = 6273\n") << 4737 << true;
        QTest::newRow("longer ID with a listed prefix")
            << QStringLiteral("\"idProduct\" = 46420") << 4642 << false;
    }

    void productMatch()
    {
        QFETCH(QString, listing);
        QFETCH(int, firstListed);
        QFETCH(bool, listsKIS);
        QCOMPARE(UsbProductMatch::firstListed(listing, recoveryIDs).value_or(0), firstListed);
        QCOMPARE(UsbProductMatch::listsKIS(listing), listsKIS);
    }

    void sysfsListingReadsHexProductIDs()
    {
        TestPaths paths;
        const QDir root(paths.usbDevices());
        const auto device = [&](const QString &name, const QByteArray &idProduct) {
            root.mkpath(name);
            QVERIFY(writeFile(root.filePath(name + QStringLiteral("/idProduct")), idProduct));
        };
        device(QStringLiteral("usb1"), "0002\n");
        device(QStringLiteral("1-2"), "1881\n");
        device(QStringLiteral("1-1"), "1227\n");
        device(QStringLiteral("1-3"), "not hex\n");
        root.mkpath(QStringLiteral("1-1:1.0")); // an interface: no idProduct

        QCOMPARE(UsbListing::fromSysfs(paths.usbDevices()),
                 QStringLiteral("\"idProduct\" = 4647\n\"idProduct\" = 6273\n\"idProduct\" = 2\n"));
        QCOMPARE(UsbListing::fromSysfs(root.filePath(QStringLiteral("absent"))), QString());
    }

    void ioregListingRunsTheSystemTool()
    {
        TestPaths paths;
        const QByteArray recorded = text("ioreg-dfu.txt").toUtf8();
        FakeTools::write(paths.ioreg(), FakeToolBehaviour::printing(recorded, 3));
        QCOMPARE(QCoro::waitFor(UsbListing::fromIoreg()), QString::fromUtf8(recorded));
        QCOMPARE(FakeTools::recordedArguments(paths.ioreg()), (QStringList{"-p", "IOUSB", "-l", "-w0"}));
    }

    void configuratorList_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QStringList>("expected"); // deviceType, ECID; empty: none

        QTest::newRow("only an iPad")
            << QStringLiteral(R"({"Output":{"x":{"deviceType":"iPad8,1","ECID":"0x1"}}})") << QStringList{};
        QTest::newRow("non-objects and non-strings skipped")
            << QStringLiteral(
                   R"({"Output":{"a":[1],"b":{"deviceType":7},"c":{"deviceType":"Watch6,1","ECID":"1"}}})")
            << QStringList{"Watch6,1", "1"};
        QTest::newRow("the first watch decides, even with a number for its ECID")
            << QStringLiteral(
                   R"({"Output":{"a":{"deviceType":"Watch5,9","ECID":7},"b":{"deviceType":"Watch6,1",)"
                   R"("ECID":"1"}}})")
            << QStringList{};
        QTest::newRow("top level not an object")
            << QStringLiteral(R"([{"deviceType":"Watch5,9","ECID":"0x1"}])") << QStringList{};
    }

    void configuratorList()
    {
        QFETCH(QString, output);
        QFETCH(QStringList, expected);
        const auto device = ConfiguratorDeviceList::firstWatch(output);
        const QStringList found = device ? QStringList{device->deviceType, device->ecid} : QStringList{};
        QCOMPARE(found, expected);
    }
};

QTEST_GUILESS_MAIN(DeviceReadersTest)
#include "DeviceReadersTest.moc"
