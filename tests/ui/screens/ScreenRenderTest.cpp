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
#include <QCoroTask>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTest>

// Renders every screen in the states a reviewer wants to see, to
// $CORVALIN_TEST_OUTPUT/render/screens/<screen>-<state>@1x.png and @2x.png.
class ScreenRenderTest : public QObject {
    Q_OBJECT

private:
    static constexpr QSize detailSize{870, 760};

    template <typename View> static void render(View &view, const QString &name)
    {
        view.resize(detailSize);
        ScreenStudio::render(&view, name);
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        Theme::applyDarkAppearance(*qApp);
    }

    void overview()
    {
        ScreenStudio studio;
        OverviewView empty(studio.model(), studio.model()->deviceMonitor(), studio.model()->downloader());
        render(empty, QStringLiteral("overview-empty"));

        studio.loadCatalog();
        studio.attachRecoveryWatch();
        studio.startStalledDownload();
        OverviewView downloading(studio.model(), studio.model()->deviceMonitor(),
                                 studio.model()->downloader());
        render(downloading, QStringLiteral("overview-download-42"));
    }

    void catalogue()
    {
        ScreenStudio studio;
        studio.loadCatalog();
        studio.putInCache(studio.firmware(QStringLiteral("Watch5,9")));
        studio.model()->select(studio.firmware(QStringLiteral("Watch6,1")));
        CatalogView view(studio.model());
        render(view, QStringLiteral("catalog-rows"));

        OverviewView overview(studio.model(), studio.model()->deviceMonitor(), studio.model()->downloader());
        render(overview, QStringLiteral("overview-unsigned-firmware"));
    }

    void restore()
    {
        ScreenStudio studio;
        RestoreView empty(studio.model(), studio.model()->deviceMonitor(), studio.model()->restoreManager());
        render(empty, QStringLiteral("restore-empty"));

        studio.attachRecoveryWatch();
        QCoro::waitFor(studio.model()->restoreManager()->startRestore(
            std::nullopt, *studio.model()->deviceMonitor()->connectedWatch()));
        RestoreView failed(studio.model(), studio.model()->deviceMonitor(), studio.model()->restoreManager());
        render(failed, QStringLiteral("restore-error"));

        studio.chooseImage(
            QStringLiteral("Watch6,1_10.2_21S364_Restore_with_a_rather_long_name_for_two_lines.ipsw"));
        RestoreView ready(studio.model(), studio.model()->deviceMonitor(), studio.model()->restoreManager());
        render(ready, QStringLiteral("restore-ready"));
    }

    void restoreKIS()
    {
        ScreenStudio studio;
        studio.attachKISWatch();
        RestoreView view(studio.model(), studio.model()->deviceMonitor(), studio.model()->restoreManager());
        render(view, QStringLiteral("restore-kis"));
    }

    void sheet()
    {
        ScreenStudio studio;
        RestoreConfirmationSheet empty(studio.model(), studio.model()->deviceMonitor(),
                                       studio.model()->restoreManager());
        ScreenStudio::render(&empty, QStringLiteral("sheet-empty"));
        RestoreConfirmationSheet typed(studio.model(), studio.model()->deviceMonitor(),
                                       studio.model()->restoreManager());
        typed.show();
        typed.findChild<QLineEdit *>(QStringLiteral("confirmationPhrase"))
            ->setText(QStringLiteral("ПРОШИТЬ"));
        ScreenStudio::render(&typed, QStringLiteral("sheet-typed"));
    }

    void log()
    {
        ScreenStudio studio;
        studio.attachRecoveryWatch();
        studio.chooseImage(QStringLiteral("watchOS_10.ipsw"));
        studio.installRestoreTool(true);
        studio.startRestore();
        LogView running(studio.model(), studio.model()->restoreManager());
        QTRY_VERIFY(studio.model()->restoreManager()->logText().contains(QStringLiteral("Sending")));
        render(running, QStringLiteral("log-running"));
        studio.model()->restoreManager()->cancelRestore();
        QTRY_VERIFY(!studio.model()->restoreManager()->isRestoring());

        studio.installRestoreTool(false, 0);
        studio.startRestore();
        QTRY_VERIFY(studio.model()->restoreManager()->completedSuccessfully());
        LogView succeeded(studio.model(), studio.model()->restoreManager());
        render(succeeded, QStringLiteral("log-succeeded"));
    }
};

QTEST_MAIN(ScreenRenderTest)
#include "ScreenRenderTest.moc"
