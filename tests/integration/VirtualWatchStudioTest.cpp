// The whole application against the real irecovery and idevicerestore of the Tools folder, with a
// virtual watch on the bus and a stand-in for Apple's signing server: detection, the image check,
// the restore up to the watch's restore mode, the stop button, and the faults a technician meets.
// Each run's real lines are compared whole; what the tools print is taken as it comes.
#include "integration/VirtualWatchStudio.h"

#include "support/RealTools.h"
#include "tools/ToolLocator.h"
#include "ui/screens/LogBox.h"
#include "ui/screens/LogTextView.h"
#include "ui/screens/LogView.h"
#include "ui/screens/RestoreConfirmationSheet.h"
#include "ui/screens/RestoreView.h"

#include <QFile>
#include <QLineEdit>
#include <QTest>

namespace {

using Mode = VirtualWatch::Mode;

const QString waiting = QLatin1String(VirtualWatchStudio::waitingLine);
const QString failedLine = QStringLiteral("Восстановление завершилось с ошибкой 1.");
const QString stopLine = QStringLiteral("Пользователь запросил остановку процесса.");
const QString recoveryTransport = QStringLiteral("Транспорт: libimobiledevice Recovery/DFU.");
const QByteArray nonce = "a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f90";
const RestoreImage::Model series9{"Watch7,1", "n207sap", 0x8310, 0x08};

VirtualWatch::Identity series6Watch()
{
    VirtualWatch::Identity identity;
    identity.apNonce = nonce;
    return identity;
}

// Where the first line of `expected` missing from `lines` in that order is; empty when all are.
QString firstMissing(const QStringList &lines, const QStringList &expected)
{
    qsizetype at = 0;
    for (const QString &line : expected) {
        at = lines.indexOf(line, at);
        if (at < 0)
            return line;
        ++at;
    }
    return {};
}

// The lines that begin with each prefix, in that order.
QString firstMissingPrefix(const QStringList &lines, const QStringList &prefixes)
{
    qsizetype at = 0;
    for (const QString &prefix : prefixes) {
        while (at < lines.size() && !lines.at(at).startsWith(prefix))
            ++at;
        if (at == lines.size())
            return prefix;
        ++at;
    }
    return {};
}

} // namespace

class VirtualWatchStudioTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!VirtualWatch::available())
            QSKIP(RealTools::unavailableMessage());
    }

    // What the monitor publishes from the real irecovery's (or the companion's) answer.
    void detection_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<quint32>("chipId");        // 0: the table's chip and board for Watch6,1
        QTest::addColumn<QStringList>("published"); // product type, model, name, mode, ECID; empty: none
        QTest::addColumn<QString>("hint");
        QTest::addColumn<QString>("selected"); // the selected firmware's product type

        const QStringList series6{"Watch6,1", "n157sap", "Apple Watch Series 6 (40mm)"};
        const QString ready = QStringLiteral("Recovery/DFU готов к восстановлению");
        QTest::newRow("Recovery") << Mode::Recovery << 0u
                                  << series6 + QStringList{"Recovery", "0x00001a2b3c4d5e6f"} << ready
                                  << "Watch6,1";
        QTest::newRow("DFU") << Mode::Dfu << 0u << series6 + QStringList{"DFU", "0x00001a2b3c4d5e6f"} << ready
                             << "Watch6,1";
        QTest::newRow("KIS, through the companion")
            << Mode::Kis << 0u << series6 + QStringList{"DFU via Debug USB (KIS)", "0x1A2B3C4D5E6F"}
            << QStringLiteral("KIS/DFU готов к восстановлению") << "Watch6,1";
        // irecovery names no product for a chip and board missing from its table.
        QTest::newRow("model the tools do not know")
            << Mode::Recovery << 0x8999u << QStringList()
            << QStringLiteral("Подключённое Recovery/DFU-устройство не является Apple Watch") << "Watch3,1";
    }

    void detection()
    {
        QFETCH(Mode, mode);
        QFETCH(quint32, chipId);
        QFETCH(QStringList, published);
        QFETCH(QString, hint);
        QFETCH(QString, selected);

        VirtualWatchStudio studio;
        VirtualWatch::Identity identity = series6Watch();
        if (chipId != 0) {
            identity.chipId = chipId;
            identity.boardId = 0x3e;
        }
        studio.attach(mode, identity);

        const auto &watch = studio.monitor()->connectedWatch();
        const QStringList found =
            watch ? QStringList{watch->productType, watch->model, watch->name, watch->mode, watch->ecid}
                  : QStringList();
        QCOMPARE(found, published);
        QCOMPARE(studio.monitor()->connectionHint(), hint);
        QVERIFY(studio.model()->selectedFirmware());
        QCOMPARE(studio.model()->selectedFirmware()->productType, selected);
    }

    // The real idevicerestore reads the synthetic image's manifest.
    void validation_data()
    {
        QTest::addColumn<RestoreImage::Model>("image");
        QTest::addColumn<QString>("toolSays");
        QTest::addColumn<QString>("error"); // empty: accepted

        QTest::newRow("image for the watch")
            << RestoreImage::series6() << "Supported Product Types: Watch6,1" << QString();
        QTest::newRow("image for another model")
            << series9 << "Supported Product Types: Watch7,1"
            << QStringLiteral("IPSW не содержит модель Watch6,1 в BuildManifest.");
    }

    void validation()
    {
        QFETCH(RestoreImage::Model, image);
        QFETCH(QString, toolSays);
        QFETCH(QString, error);

        VirtualWatchStudio studio;
        studio.attach(Mode::Recovery, series6Watch());
        const QString path = studio.chooseSyntheticImage(image);
        QCOMPARE(QCoro::waitFor(studio.restore()->validate(path, QStringLiteral("Watch6,1"))),
                 error.isEmpty());
        QVERIFY2(studio.logHas(toolSays), qPrintable(studio.restore()->logText()));
        QCOMPARE(studio.restore()->lastError().value_or(QString()), error);
        if (error.isEmpty())
            QCOMPARE(studio.logLines().constLast(), QStringLiteral("Совместимость подтверждена: Watch6,1."));
    }
};

Q_DECLARE_METATYPE(RestoreImage::Model)

QTEST_MAIN(VirtualWatchStudioTest)
#include "VirtualWatchStudioTest.moc"
