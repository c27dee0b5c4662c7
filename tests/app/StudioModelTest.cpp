#include "app/StudioModel.h"
#include "device/DeviceMonitor.h"
#include "device/FakeUsbBus.h"
#include "download/DownloadManager.h"
#include "restore/RestoreManager.h"
#include "support/FakeTools.h"
#include "support/LocalHttpServer.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"

#include <QCoroTask>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

namespace {

const QString readyLine = QStringLiteral("Corvalin Studio готов к работе.");

struct Release {
    QString productType;
    QString version;
    QString build;
    QByteArray image = "image bytes";
};

// A catalogue with one full image per release; every link points at the image server.
QByteArray catalogue(const QList<Release> &releases, const LocalHttpServer &images)
{
    QJsonArray records;
    for (const Release &release : releases) {
        const QString file = release.productType + u'_' + release.version + QStringLiteral("_Restore.ipsw");
        const QJsonObject link{{QStringLiteral("url"), images.url(u'/' + file).toString()}};
        const QJsonObject source{
            {QStringLiteral("type"), QStringLiteral("ipsw")},
            {QStringLiteral("deviceMap"), QJsonArray{release.productType}},
            {QStringLiteral("links"), QJsonArray{link}},
            {QStringLiteral("hashes"),
             QJsonObject{{QStringLiteral("sha2-256"),
                          QString::fromLatin1(
                              QCryptographicHash::hash(release.image, QCryptographicHash::Sha256).toHex())}}},
            {QStringLiteral("size"), release.image.size()}};
        records.append(QJsonObject{{QStringLiteral("version"), release.version},
                                   {QStringLiteral("build"), release.build},
                                   {QStringLiteral("released"), QStringLiteral("2023-09-18")},
                                   {QStringLiteral("deviceMap"), QJsonArray{release.productType}},
                                   {QStringLiteral("signed"), true},
                                   {QStringLiteral("sources"), QJsonArray{source}}});
    }
    return QJsonDocument(records).toJson(QJsonDocument::Compact);
}

// The servers, the tools folder and one model, as the application would have them.
class Studio {
public:
    Studio()
    {
        LocalHttpServer::trustTestCertificate();
        model = std::make_unique<StudioModel>(catalogServer.url(QStringLiteral("/ios/watchOS/main.json")),
                                              QStringList{QStringLiteral("127.0.0.1")});
        // The real checksum tool, reached through the test's system folder.
        FakeToolBehaviour shasum;
        shasum.extraShell = "exec /usr/bin/shasum \"$@\"";
        FakeTools::write(paths.shasum(), shasum);
    }

    void serve(const QList<Release> &releases)
    {
        catalogServer.setResponse(QStringLiteral("/ios/watchOS/main.json"),
                                  HttpResponse::ok(catalogue(releases, imageServer)));
        for (const Release &release : releases)
            imageServer.setResponse(u'/' + release.productType + u'_' + release.version +
                                        QStringLiteral("_Restore.ipsw"),
                                    HttpResponse::ok(release.image));
    }

    void refresh() { QCoro::waitFor(model->refreshCatalog()); }

    // Puts a watch in Recovery on the bus and lets the monitor find it.
    void attachWatch(const QString &productType)
    {
        attachUsbDevices(paths, {"1281"});
        FakeToolBehaviour irecovery;
        irecovery.extraShell =
            "case \"$1\" in -q) printf 'MODE: Recovery\\nPRODUCT: " + productType.toUtf8() +
            "\\nECID: 0x1A2B\\n';; esac";
        FakeTools::write(paths.tool(QStringLiteral("bin/irecovery")), irecovery);
        QCoro::waitFor(model->deviceMonitor()->poll());
        QVERIFY(model->deviceMonitor()->connectedWatch().has_value());
    }

    QString cachedPath(const QString &fileName) const
    {
        return QDir(paths.downloads()).filePath(QStringLiteral("Corvalin Firmware/") + fileName);
    }

    void putInCache(const QString &fileName)
    {
        QDir().mkpath(QFileInfo(cachedPath(fileName)).absolutePath());
        QVERIFY(writeFile(cachedPath(fileName)));
    }

    QStringList logLines() const
    {
        return model->restoreManager()->logText().split(u'\n', Qt::SkipEmptyParts);
    }

    TestPaths paths;
    LocalHttpServer catalogServer;
    LocalHttpServer imageServer{LocalHttpServer::Transport::tls};
    std::unique_ptr<StudioModel> model;
};

QStringList productTypes(const QList<WatchFirmware> &list)
{
    QStringList types;
    for (const WatchFirmware &record : list)
        types << record.productType;
    return types;
}

} // namespace

class StudioModelTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void refreshChoosesTheDefaultModelOnlyWithoutASelection()
    {
        Studio studio;
        studio.serve({{"Watch2,3", "6.0", "17R1"}, {"Watch3,1", "8.0", "19R1"}, {"Watch3,2", "8.0", "19R1"}});
        studio.refresh();
        QCOMPARE(productTypes(studio.model->firmware()), (QStringList{"Watch2,3", "Watch3,1", "Watch3,2"}));
        QCOMPARE(studio.model->selectedFirmware()->productType, QStringLiteral("Watch3,1"));

        // A selection survives a refresh, even as a record of the previous list.
        const WatchFirmware previous = studio.model->firmware().at(2);
        studio.model->select(previous);
        studio.serve({{"Watch3,1", "8.1", "19R2"}, {"Watch3,2", "8.1", "19R2"}});
        studio.refresh();
        QCOMPARE(*studio.model->selectedFirmware(), previous);
        QVERIFY(!studio.model->firmware().contains(previous));

        Studio withoutSeries3;
        withoutSeries3.serve({{"Watch4,1", "9.0", "20R1"}, {"Watch5,1", "9.0", "20R1"}});
        withoutSeries3.refresh();
        QCOMPARE(withoutSeries3.model->selectedFirmware()->productType, QStringLiteral("Watch4,1"));

        Studio empty;
        empty.serve({});
        empty.refresh();
        QVERIFY(!empty.model->selectedFirmware());
        QCOMPARE(empty.logLines().last(), QStringLiteral("Каталог обновлён: 0 моделей."));
    }

    void selectionFollowsTheCacheTheWatchAndTheChooser()
    {
        Studio studio;
        studio.serve({{"Watch3,1", "8.0", "19R1"}, {"Watch6,1", "10.0", "21R1"}});
        studio.refresh();
        StudioModel &model = *studio.model;
        QCOMPARE(model.selectedFirmware()->productType, QStringLiteral("Watch3,1"));

        // Selecting takes the cached image, or none.
        studio.putInCache(QStringLiteral("Watch3,1_8.0_Restore.ipsw"));
        model.select(model.firmware().at(0));
        QCOMPARE(model.selectedIPSW(), std::optional(studio.cachedPath("Watch3,1_8.0_Restore.ipsw")));
        model.select(model.firmware().at(1));
        QVERIFY(!model.selectedIPSW());

        // A refresh selects the attached watch but keeps a hand-chosen image when the cache has none.
        const QString own = QStringLiteral("/tmp/own.ipsw");
        model.select(model.firmware().at(0));
        model.setManualIPSWChooser([own] { return ManualIPSWChoice{true, own}; });
        model.chooseManualIPSW();
        QCOMPARE(studio.logLines().last(), QStringLiteral("Выбран локальный файл: ") + own);
        studio.attachWatch(QStringLiteral("Watch6,1"));
        studio.refresh();
        QCOMPARE(model.selectedFirmware()->productType, QStringLiteral("Watch6,1"));
        QCOMPARE(model.selectedIPSW(), std::optional(own));

        // Each detection cycle re-selects the attached model, replacing an image chosen by hand.
        model.syncConnectedDevice(model.deviceMonitor()->connectedWatch());
        QVERIFY(!model.selectedIPSW());
        // With the image in the cache the refresh points at it.
        studio.putInCache(QStringLiteral("Watch6,1_10.0_Restore.ipsw"));
        studio.refresh();
        QCOMPARE(model.selectedIPSW(), std::optional(studio.cachedPath("Watch6,1_10.0_Restore.ipsw")));

        // An unlisted model and a detached watch change nothing.
        model.select(model.firmware().at(0));
        ConnectedWatch unknown;
        unknown.productType = QStringLiteral("Watch9,9");
        model.syncConnectedDevice(unknown);
        model.syncConnectedDevice(std::nullopt);
        QCOMPARE(model.selectedFirmware()->productType, QStringLiteral("Watch3,1"));

        // A cancelled chooser changes nothing and logs nothing.
        const QString log = model.restoreManager()->logText();
        model.setManualIPSWChooser([] { return ManualIPSWChoice{}; });
        model.chooseManualIPSW();
        QCOMPARE(model.restoreManager()->logText(), log);
    }

    void aFailedRefreshKeepsTheListAndReportsTheError()
    {
        Studio studio;
        studio.serve({{"Watch3,1", "8.0", "19R1"}});
        studio.refresh();
        const QList<WatchFirmware> list = studio.model->firmware();

        studio.catalogServer.setResponse(QStringLiteral("/ios/watchOS/main.json"),
                                         HttpResponse::withStatus(404));
        QSignalSpy loading(studio.model.get(), &StudioModel::isLoadingCatalogChanged);
        studio.refresh();
        const QString description = QStringLiteral("Каталог прошивок имеет неизвестный формат.");
        QCOMPARE(studio.model->catalogError(), std::optional(description));
        QCOMPARE(studio.logLines().last(), QStringLiteral("Ошибка каталога: ") + description);
        QCOMPARE(studio.model->firmware(), list);
        QCOMPARE(studio.model->selectedFirmware()->productType, QStringLiteral("Watch3,1"));
        QCOMPARE(loading.size(), 2);
        QVERIFY(!studio.model->isLoadingCatalog());

        // The next refresh clears the error as it starts.
        studio.serve({{"Watch3,1", "8.0", "19R1"}});
        studio.refresh();
        QVERIFY(!studio.model->catalogError());
    }

    void searchMatchesModelNameAndVersionOnly()
    {
        Studio studio;
        studio.serve({{"Watch3,1", "8.7", "19U1"}, {"Watch6,1", "10.0", "21R1"}});
        studio.refresh();
        StudioModel &model = *studio.model;

        const QList<std::pair<QString, QStringList>> cases{
            {QStringLiteral(" \n\t "), {"Watch3,1", "Watch6,1"}},
            {QStringLiteral("  WATCH6\n"), {"Watch6,1"}},
            {QStringLiteral("8.7"), {"Watch3,1"}},
            {QStringLiteral("apple watch"), {"Watch3,1", "Watch6,1"}},
            {QStringLiteral("19U1"), {}},
            {QStringLiteral("Restore.ipsw"), {}},
        };
        for (const auto &[query, expected] : cases) {
            model.setSearchText(query);
            QCOMPARE(productTypes(model.filteredFirmware()), expected);
        }
    }

    void oneRestoreFromStartToSuccess()
    {
        Studio studio;
        const QByteArray image = "a full restore image for the Series 6";
        studio.serve({{"Watch6,1", "10.0.2", "21R371", image}});
        FakeToolBehaviour idevicerestore;
        idevicerestore.extraShell = "case \"$1\" in --ipsw-info) printf 'Product Version: 10.0.2   Build: "
                                    "21R371\\nSupported Product Types: Watch6,1 Watch6,2\\n';; *) printf "
                                    "'Sending iBEC\\n[==========] 100%%\\nDONE\\n';; esac";
        FakeTools::write(studio.paths.tool(QStringLiteral("bin/idevicerestore")), idevicerestore);
        studio.attachWatch(QStringLiteral("Watch6,1"));
        StudioModel &model = *studio.model;

        model.start();
        QTRY_VERIFY(!model.firmware().isEmpty() && !model.isLoadingCatalog());
        QCOMPARE(model.selectedFirmware()->productType, QStringLiteral("Watch6,1"));
        model.requestDownloadSelected();
        const QString imagePath = studio.cachedPath("Watch6,1_10.0.2_Restore.ipsw");
        QTRY_COMPARE(model.selectedIPSW(), std::optional(imagePath));

        RestoreManager &restore = *model.restoreManager();
        QCoro::waitFor(restore.startRestore(model.selectedIPSW(), *model.deviceMonitor()->connectedWatch()));
        QTRY_VERIFY_WITH_TIMEOUT(restore.completedSuccessfully(), 10000);
        QVERIFY(!restore.isRestoring());

        const QStringList lines = studio.logLines();
        QCOMPARE(lines.mid(0, 2), (QStringList{readyLine, QStringLiteral("Каталог обновлён: 1 моделей.")}));
        QCOMPARE(lines.mid(2, 5), (QStringList{QStringLiteral("Прошивка готова: ") + imagePath,
                                               QStringLiteral("Проверка Watch6,1_10.0.2_Restore.ipsw…"),
                                               QStringLiteral("Product Version: 10.0.2   Build: 21R371"),
                                               QStringLiteral("Supported Product Types: Watch6,1 Watch6,2"),
                                               QStringLiteral("Совместимость подтверждена: Watch6,1.")}));
        QVERIFY(lines.at(7).startsWith(
            QStringLiteral("Запуск восстановления. Журнал: ") +
            QDir(studio.paths.applicationSupport()).filePath("Corvalin Studio/Logs/restore-")));
        QCOMPARE(lines.mid(8),
                 (QStringList{QStringLiteral("Транспорт: libimobiledevice Recovery/DFU."),
                              QStringLiteral("Sending iBEC"), QStringLiteral("[==========] 100%"),
                              QStringLiteral("DONE"), QStringLiteral("Восстановление завершено успешно.")}));
        const QString restoreTool = studio.paths.tool(QStringLiteral("bin/idevicerestore"));
        const QString logFile = lines.at(7).section(QStringLiteral("Журнал: "), 1);
        QCOMPARE(FakeTools::recordedArguments(restoreTool),
                 (QStringList{"--erase", "--plain-progress", "--cache-path", ToolLocator::cacheDirectory(),
                              "--logfile=" + logFile, imagePath}));
        const QProcessEnvironment environment = FakeTools::recordedEnvironment(restoreTool);
        QCOMPARE(environment.value(QStringLiteral("LC_ALL")), QStringLiteral("C"));
        QVERIFY(environment.value(ToolLocator::librarySearchVariable()).startsWith(studio.paths.tool("lib")));
    }
};

QTEST_GUILESS_MAIN(StudioModelTest)
#include "StudioModelTest.moc"
