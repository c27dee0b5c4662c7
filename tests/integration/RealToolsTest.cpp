// The application against the real irecovery and idevicerestore of the Tools folder, with no
// watch attached: the device names irecovery knows and idevicerestore's reading of images, taken
// as the tools print them. Runs against a watch are VirtualWatchStudioTest's.
#include "support/RealTools.h"
#include "catalog/CatalogLoad.h"
#include "device/DeviceMonitor.h"
#include "restore/RestoreManager.h"
#include "support/LocalHttpServer.h"
#include "support/RestoreImage.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"

#include <QCoroTask>
#include <QHash>
#include <QStandardPaths>
#include <QTest>

#include <memory>

namespace {

const QString damaged = QStringLiteral("Файл повреждён, является OTA или не поддерживается.");

using ImageFiles = RestoreImage::Files;

const QByteArray catalogue =
    QByteArray(
        "[{'version':'10.0.2','build':'21R371','released':'2023-10-04','signed':true,"
        "'deviceMap':['Watch1,1','Watch6,18','Watch7,1','Watch8,1','Watch8,4'],"
        "'sources':[{'type':'ipsw','deviceMap':['Watch1,1','Watch6,18','Watch7,1','Watch8,1','Watch8,4'],"
        "'links':[{'url':'https://updates.cdn-apple.com/fw/Restore.ipsw'}]}]}]")
        .replace('\'', '"');

} // namespace

class RealToolsTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TestPaths> m_paths;

private slots:
    void initTestCase()
    {
        if (RealTools::folder().isEmpty())
            QSKIP(RealTools::unavailableMessage());
        QVERIFY2(!QStandardPaths::findExecutable(QStringLiteral("zip")).isEmpty(),
                 "the zip tool (Debian package zip) makes the test images");
    }

    void init()
    {
        m_paths = std::make_unique<TestPaths>();
        QVERIFY2(RealTools::installInto(*m_paths), qPrintable(RealTools::folder()));
    }

    void cleanup() { m_paths.reset(); }

    void namesComeFromTheDeviceTable()
    {
        LocalHttpServer server;
        const QString path = QStringLiteral("/ios/watchOS/main.json");
        server.setResponse(path, HttpResponse::ok(catalogue));
        CatalogService service(server.url(path), CatalogService::defaultAllowedHosts());
        const Result<QList<WatchFirmware>> result = waitForLoad(service.load());
        QVERIFY(result);
        QHash<QString, QString> catalogueNames;
        for (const WatchFirmware &firmware : result.value())
            catalogueNames.insert(firmware.productType, firmware.deviceName);

        // Product type, model, name. The Watch8 ones are newer than upstream's table: added by the
        // Tools folder's own patch.
        const QStringList table[] = {{"Watch7,1", "n207sap", "Apple Watch Series 9 (41mm)"},
                                     {"Watch6,18", "n199ap", "Apple Watch Ultra"},
                                     {"Watch1,1", "n27aap", "Apple Watch 38mm (1st gen)"},
                                     {"Watch8,1", "n240ap", "Apple Watch Ultra 4"},
                                     {"Watch8,4", "n238sap", "Apple Watch Series 12 (42mm Cellular)"}};
        for (const QStringList &expected : table) {
            QCOMPARE(catalogueNames.value(expected[0]), expected[2]);
            const auto identity = QCoro::waitFor(DeviceMonitor::recoveryIdentity(expected[0]));
            QCOMPARE((QStringList{expected[0], identity.model, identity.name}), expected);
        }
    }

    // Images the real idevicerestore shows not to be for the watch. One that is: every restore of
    // VirtualWatchStudioTest.
    void refusedImages_data()
    {
        QTest::addColumn<ImageFiles>("files"); // none: the image is `notAZip` as it stands
        QTest::addColumn<QByteArray>("notAZip");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("toolSays"); // a line of the tool's own output, whole

        const QString incompatible = QStringLiteral("IPSW не содержит модель Watch7,1 в BuildManifest.");
        QTest::newRow("manifest naming another model")
            << ImageFiles{{QStringLiteral("BuildManifest.plist"),
                           RestoreImage::buildManifest(RestoreImage::series6())}}
            << QByteArray() << incompatible << "Supported Product Types: Watch6,1";
        QTest::newRow("zip without a manifest")
            << ImageFiles{{QStringLiteral("Restore.plist"), QByteArray("<plist/>")}} << QByteArray()
            << damaged << "Failed to extract BuildManifest.plist from IPSW!";
        // A saved error page is no zip, yet the tool reports an image that supports nothing.
        QTest::newRow("error page saved as the image")
            << ImageFiles{} << QByteArray("<html><body><h1>404 Not Found</h1></body></html>\n")
            << incompatible << "Supported Product Types:";
    }

    void refusedImages()
    {
        QFETCH(ImageFiles, files);
        QFETCH(QByteArray, notAZip);
        QFETCH(QString, error);
        QFETCH(QString, toolSays);

        const QString image = m_paths->downloads() + QStringLiteral("/watchOS_10.0.2.ipsw");
        QVERIFY(files.isEmpty() ? writeFile(image, notAZip) : RestoreImage::writeZip(image, files));
        RestoreManager manager;
        QVERIFY(!QCoro::waitFor(manager.validate(image, QStringLiteral("Watch7,1"))));
        QCOMPARE(manager.lastError(), std::optional(error));
        QVERIFY2(manager.logText().split(u'\n').contains(toolSays), qPrintable(manager.logText()));
    }
};

QTEST_GUILESS_MAIN(RealToolsTest)
#include "RealToolsTest.moc"
