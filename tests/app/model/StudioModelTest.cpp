#include "StudioFixture.h"
#include "tools/ToolLocator.h"

#include <QCryptographicHash>
#include <QSignalSpy>
#include <QStandardPaths>

namespace {

const QString readyLine = QStringLiteral("Corvalin Studio готов к работе.");

struct Release {
    QString productType;
    QString version;
    QString build;
    QByteArray image = "image bytes";
};

// One full image per release, each served from the image server under its own name.
class Studio : public StudioFixture {
public:
    void serve(const QList<Release> &releases)
    {
        QStringList records;
        for (const Release &release : releases) {
            const QString file =
                release.productType + u'_' + release.version + QStringLiteral("_Restore.ipsw");
            imageServer.setResponse(u'/' + file, HttpResponse::ok(release.image));
            const QByteArray digest =
                QCryptographicHash::hash(release.image, QCryptographicHash::Sha256).toHex();
            records << QStringLiteral(
                           R"({"version":"%1","build":"%2","released":"2023-09-18","deviceMap":["%3"],)"
                           R"("signed":true,"sources":[{"type":"ipsw","deviceMap":["%3"],"size":%4,)"
                           R"("hashes":{"sha2-256":"%5"},"links":[{"url":"@/%6"}]}]})")
                           .arg(release.version, release.build, release.productType)
                           .arg(release.image.size())
                           .arg(QString::fromLatin1(digest), file);
        }
        serveCatalog('[' + records.join(u',').toUtf8() + ']');
    }
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

    void refreshSelectsOnlyWithoutASelectionAndKeepsTheListOnFailure()
    {
        Studio studio;
        studio.serve({{"Watch2,3", "6.0", "17R1"}, {"Watch3,1", "8.0", "19R1"}, {"Watch3,2", "8.0", "19R1"}});
        studio.refresh();
        QCOMPARE(productTypes(studio.model()->firmware()), (QStringList{"Watch2,3", "Watch3,1", "Watch3,2"}));
        QCOMPARE(studio.model()->selectedFirmware()->productType, QStringLiteral("Watch3,1"));

        // A selection survives a refresh, even as a record of the previous list.
        const WatchFirmware previous = studio.model()->firmware().at(2);
        studio.model()->select(previous);
        studio.serve({{"Watch3,1", "8.1", "19R2"}, {"Watch3,2", "8.1", "19R2"}});
        studio.refresh();
        QCOMPARE(*studio.model()->selectedFirmware(), previous);
        QVERIFY(!studio.model()->firmware().contains(previous));

        // A failed refresh keeps the list and the selection and reports the error; the next
        // refresh clears it as it starts.
        const QList<WatchFirmware> list = studio.model()->firmware();
        studio.catalogServer.setResponse(studio.catalogPath, HttpResponse::withStatus(404));
        QSignalSpy loading(studio.model(), &StudioModel::isLoadingCatalogChanged);
        studio.refresh();
        const QString description = QStringLiteral("Каталог прошивок имеет неизвестный формат.");
        QCOMPARE(studio.model()->catalogError(), std::optional(description));
        QCOMPARE(studio.logLines().last(), QStringLiteral("Ошибка каталога: ") + description);
        QCOMPARE(studio.model()->firmware(), list);
        QCOMPARE(*studio.model()->selectedFirmware(), previous);
        QCOMPARE(loading.size(), 2);
        QVERIFY(!studio.model()->isLoadingCatalog());
        studio.serve({{"Watch3,1", "8.1", "19R2"}});
        studio.refresh();
        QVERIFY(!studio.model()->catalogError());

        Studio withoutSeries3;
        withoutSeries3.serve({{"Watch4,1", "9.0", "20R1"}, {"Watch5,1", "9.0", "20R1"}});
        withoutSeries3.refresh();
        QCOMPARE(withoutSeries3.model()->selectedFirmware()->productType, QStringLiteral("Watch4,1"));

        Studio empty;
        empty.serve({});
        empty.refresh();
        QVERIFY(!empty.model()->selectedFirmware());
        QCOMPARE(empty.logLines().last(), QStringLiteral("Каталог обновлён: 0 моделей."));
    }

    void selectionFollowsTheCacheTheWatchAndTheChooserAndTheSearchFiltersIt()
    {
        Studio studio;
        studio.serve({{"Watch3,1", "8.0", "19R1"}, {"Watch6,1", "10.0", "21R1"}});
        studio.refresh();
        StudioModel &model = *studio.model();
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
        studio.attachRecoveryWatch();
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

        // The search matches the model, its name and the version, not the build or the file.
        const QList<std::pair<QString, QStringList>> cases{
            {QStringLiteral(" \n\t "), {"Watch3,1", "Watch6,1"}},
            {QStringLiteral("  WATCH6\n"), {"Watch6,1"}},
            {QStringLiteral("8.0"), {"Watch3,1"}},
            {QStringLiteral("apple watch"), {"Watch3,1", "Watch6,1"}},
            {QStringLiteral("19R1"), {}},
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
        studio.installRestoreTool(false);
        studio.attachRecoveryWatch();
        StudioModel &model = *studio.model();

        model.start();
        QTRY_VERIFY(!model.firmware().isEmpty() && !model.isLoadingCatalog());
        QCOMPARE(model.selectedFirmware()->productType, QStringLiteral("Watch6,1"));
        model.requestDownloadSelected();
        const QString imagePath = studio.cachedPath("Watch6,1_10.0.2_Restore.ipsw");
        QTRY_COMPARE(model.selectedIPSW(), std::optional(imagePath));

        studio.startRestore();
        QTRY_VERIFY_WITH_TIMEOUT(model.restoreManager()->completedSuccessfully(), 10000);
        QVERIFY(!model.restoreManager()->isRestoring());

        const QStringList lines = studio.logLines();
        QCOMPARE(lines.mid(0, 2), (QStringList{readyLine, QStringLiteral("Каталог обновлён: 1 моделей.")}));
        QCOMPARE(lines.mid(2, 4), (QStringList{QStringLiteral("Прошивка готова: ") + imagePath,
                                               QStringLiteral("Проверка Watch6,1_10.0.2_Restore.ipsw…"),
                                               QStringLiteral("Supported Product Types: Watch6,1"),
                                               QStringLiteral("Совместимость подтверждена: Watch6,1.")}));
        QVERIFY(lines.at(6).startsWith(
            QStringLiteral("Запуск восстановления. Журнал: ") +
            QDir(studio.paths.applicationSupport()).filePath("Corvalin Studio/Logs/restore-")));
        QCOMPARE(lines.mid(7), (QStringList{QStringLiteral("Транспорт: libimobiledevice Recovery/DFU."),
                                            QStringLiteral("Extracting filesystem"),
                                            QStringLiteral("Sending RestoreFirmware"),
                                            QStringLiteral("Восстановление завершено успешно.")}));
        const QString logFile = lines.at(6).section(QStringLiteral("Журнал: "), 1);
        QCOMPARE(studio.restoreToolArguments(),
                 (QStringList{"--erase", "--plain-progress", "--cache-path", ToolLocator::cacheDirectory(),
                              "--logfile=" + logFile, imagePath}));
        const QProcessEnvironment environment =
            FakeTools::recordedEnvironment(studio.paths.tool(QStringLiteral("bin/idevicerestore")));
        QCOMPARE(environment.value(QStringLiteral("LC_ALL")), QStringLiteral("C"));
        QVERIFY(environment.value(ToolLocator::librarySearchVariable()).startsWith(studio.paths.tool("lib")));
    }
};

QTEST_GUILESS_MAIN(StudioModelTest)
#include "StudioModelTest.moc"
