#include "StudioFixture.h"

#include <QCryptographicHash>
#include <QSignalSpy>
#include <QStandardPaths>

namespace {

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

        // A refresh selects the attached watch but keeps a hand-chosen image when the cache has none.
        const QString own = QStringLiteral("/tmp/own.ipsw");
        model.select(model.firmware().at(0));
        model.setManualIPSWChooser([own] { return ManualIPSWChoice{true, own}; });
        model.chooseManualIPSW();
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
};

QTEST_GUILESS_MAIN(StudioModelTest)
#include "StudioModelTest.moc"
