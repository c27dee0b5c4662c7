#include "ScreenStudio.h"

#include "device/DeviceMonitor.h"
#include "download/DownloadManager.h"
#include "restore/RestoreManager.h"
#include "ui/Theme.h"
#include "ui/screens/CatalogView.h"
#include "ui/screens/LogView.h"
#include "ui/screens/OverviewView.h"
#include "ui/screens/RestoreConfirmationSheet.h"
#include "ui/screens/RestoreView.h"

#include <QApplication>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTest>

#include <type_traits>

// Renders every screen in the states a reviewer wants to see, to
// $CORVALIN_TEST_OUTPUT/render/screens/<screen>-<state>@1x.png and @2x.png.
class ScreenRenderTest : public QObject {
    Q_OBJECT

private:
    // A new screen on the studio's model and services, at the size of the window's detail column.
    template <typename View> static void render(const ScreenStudio &studio, const QString &name)
    {
        StudioModel *model = studio.model();
        std::unique_ptr<View> view;
        if constexpr (std::is_same_v<View, OverviewView>)
            view = std::make_unique<View>(model, model->deviceMonitor(), model->downloader());
        else if constexpr (std::is_same_v<View, RestoreView>)
            view = std::make_unique<View>(model, model->deviceMonitor(), model->restoreManager());
        else if constexpr (std::is_same_v<View, LogView>)
            view = std::make_unique<View>(model, model->restoreManager());
        else
            view = std::make_unique<View>(model);
        view->resize(870, 760);
        ScreenStudio::render(view.get(), name);
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        Theme::applyDarkAppearance(*qApp);
    }

    void overviewAndCatalogue()
    {
        ScreenStudio studio;
        render<OverviewView>(studio, QStringLiteral("overview-empty"));
        studio.loadCatalog();
        studio.putInCache(studio.firmware(QStringLiteral("Watch5,9")));
        studio.model()->select(studio.firmware(QStringLiteral("Watch6,1")));
        render<CatalogView>(studio, QStringLiteral("catalog-rows"));
        render<OverviewView>(studio, QStringLiteral("overview-unsigned-firmware"));
        studio.attachRecoveryWatch();
        studio.startStalledDownload();
        render<OverviewView>(studio, QStringLiteral("overview-download-42"));
    }

    void restore()
    {
        ScreenStudio studio;
        render<RestoreView>(studio, QStringLiteral("restore-empty"));
        studio.attachRecoveryWatch();
        studio.startRestore(); // refused: no image yet
        render<RestoreView>(studio, QStringLiteral("restore-error"));
        studio.chooseImage(
            QStringLiteral("Watch6,1_10.2_21S364_Restore_with_a_rather_long_name_for_two_lines.ipsw"));
        render<RestoreView>(studio, QStringLiteral("restore-ready"));

        ScreenStudio kis;
        kis.attachKISWatch();
        render<RestoreView>(kis, QStringLiteral("restore-kis"));
    }

    void sheet()
    {
        ScreenStudio studio;
        StudioModel *model = studio.model();
        RestoreConfirmationSheet sheet(model, model->deviceMonitor(), model->restoreManager());
        ScreenStudio::render(&sheet, QStringLiteral("sheet-empty"));
        part<QLineEdit>(sheet, "confirmationPhrase")->setText(QStringLiteral("ПРОШИТЬ"));
        ScreenStudio::render(&sheet, QStringLiteral("sheet-typed"));
    }

    void log()
    {
        ScreenStudio studio;
        RestoreManager *restore = studio.model()->restoreManager();
        studio.attachRecoveryWatch();
        studio.chooseImage(QStringLiteral("watchOS_10.ipsw"));
        studio.installRestoreTool(true);
        studio.startRestore();
        QTRY_VERIFY(restore->logText().contains(QStringLiteral("Sending")));
        render<LogView>(studio, QStringLiteral("log-running"));
        restore->cancelRestore();
        QTRY_VERIFY(!restore->isRestoring());

        studio.installRestoreTool(false, 0);
        studio.startRestore();
        QTRY_VERIFY(restore->completedSuccessfully());
        render<LogView>(studio, QStringLiteral("log-succeeded"));
    }
};

QTEST_MAIN(ScreenRenderTest)
#include "ScreenRenderTest.moc"
