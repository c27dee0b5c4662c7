#include "ScreenStudio.h"

#include "download/DownloadManager.h"
#include "ui/ActionRow.h"
#include "ui/ErrorBanner.h"
#include "ui/PlainButton.h"
#include "ui/SymbolLabel.h"
#include "ui/screens/OverviewView.h"

#include <QStandardPaths>
#include <QTest>

namespace {

struct Overview : Screen<OverviewView> {
    explicit Overview(StudioModel *model) : Screen(model, model->deviceMonitor(), model->downloader()) {}
};

} // namespace

class OverviewViewTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    // From nothing attached, loaded or running, through a chosen firmware and its download, on to the
    // restore: one card offers the next step at each point.
    void fromNothingLoadedToADownloadAndOnToTheRestore()
    {
        ScreenStudio studio;
        Overview overview(studio.model());
        ScreenStudio::render(&overview.view, QStringLiteral("overview-empty"));
        auto *catalogRow =
            qobject_cast<ActionRow *>(overview.part<PlainButton>("quickActionCatalog")->content());
        QCOMPARE(catalogRow->subtitle(), QStringLiteral("0 моделей в каталоге"));
        QVERIFY(overview.shows("catalogStateCard"));
        QVERIFY(!overview.shows("selectedFirmwareCard"));
        QVERIFY(!overview.shows("downloadProgress"));
        QVERIFY(!overview.shows("catalogErrorBanner"));

        // While the catalogue loads the card says so; after a load it invites a choice.
        auto refresh = studio.model()->refreshCatalog();
        QCOMPARE(overview.text("catalogStateText"), QStringLiteral("Получение актуального каталога…"));
        QCoro::waitFor(std::move(refresh));
        QCOMPARE(overview.text("catalogStateText"), QStringLiteral("Выберите прошивку в каталоге"));
        QVERIFY(overview.shows("catalogErrorBanner"));
        QCOMPARE(overview.part<ErrorBanner>("catalogErrorBanner")->text(),
                 QStringLiteral("Каталог прошивок имеет неизвестный формат."));

        // The quick actions go to the restore (to the catalogue: checked through the shell, from the
        // keyboard), or open the chooser.
        overview.click("quickActionRestore");
        QCOMPARE(studio.model()->navigation(), NavigationSection::restore);
        int chooserRuns = 0;
        studio.model()->setManualIPSWChooser([&chooserRuns] {
            ++chooserRuns;
            return ManualIPSWChoice{};
        });
        overview.click("quickActionManualIPSW");
        QCOMPARE(chooserRuns, 1);

        studio.loadCatalog();
        QVERIFY(!overview.shows("catalogErrorBanner"));
        QVERIFY(overview.shows("selectedFirmwareCard"));
        QVERIFY(!overview.shows("catalogStateCard"));
        QCOMPARE(overview.text("firmwareTitle"), QStringLiteral("Watch3,1 · watchOS 8.8.1"));
        QVERIFY(overview.text("firmwareDetail")
                    .startsWith(QStringLiteral("Apple Watch Series 3 (38mm Cellular)  •  19U512  •  ")));
        QVERIFY(!overview.shows("firmwareCurrentNote"));
        QVERIFY(!overview.shows("firmwareUnsignedCaution"));
        QVERIFY(overview.shows("downloadButton"));
        QVERIFY(!overview.shows("toRestoreButton"));

        // An unsigned image whose newest signed build is OTA-only carries both cautions.
        studio.model()->select(studio.firmware(QStringLiteral("Watch6,1")));
        QVERIFY(overview.shows("firmwareUnsignedCaution"));
        QVERIFY(overview.shows("firmwareCurrentNote"));
        QCOMPARE(overview.part<SymbolLabel>("firmwareCurrentNote")->text(),
                 studio.firmware(QStringLiteral("Watch6,1")).currentNote().value_or(QString()));
        ScreenStudio::render(&overview.view, QStringLiteral("overview-unsigned-firmware"));

        // A running download shows its card until it is cancelled.
        studio.attachRecoveryWatch();
        studio.startStalledDownload();
        QVERIFY(overview.shows("downloadProgress"));
        QCOMPARE(overview.text("downloadPercent"), QStringLiteral("42%")); // cut, not rounded
        QVERIFY(!overview.part("downloadButton")->isEnabled());
        ScreenStudio::render(&overview.view, QStringLiteral("overview-download-42"));

        overview.click("downloadCancelButton");
        QVERIFY(!studio.model()->downloader()->isDownloading());
        QVERIFY(!overview.shows("downloadProgress"));
        QVERIFY(overview.part("downloadButton")->isEnabled());

        studio.chooseImage(QStringLiteral("local.ipsw"));
        QVERIFY(!overview.shows("downloadButton"));
        overview.click("toRestoreButton");
        QCOMPARE(studio.model()->navigation(), NavigationSection::restore);
    }
};

QTEST_MAIN(OverviewViewTest)
#include "OverviewViewTest.moc"
