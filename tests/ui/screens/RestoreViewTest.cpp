#include "ScreenStudio.h"

#include "restore/RestoreManager.h"
#include "tools/ToolLocator.h"
#include "ui/CheckLine.h"
#include "ui/ErrorBanner.h"
#include "ui/SymbolLabel.h"
#include "ui/screens/RestoreConfirmationSheet.h"
#include "ui/screens/RestoreView.h"

#include <QLineEdit>
#include <QStandardPaths>
#include <QTest>

namespace {

struct Restore : Screen<RestoreView> {
    explicit Restore(StudioModel *model) : Screen(model, model->deviceMonitor(), model->restoreManager()) {}
    QString transportCheck() const { return part<CheckLine>("transportCheck")->text(); }
    QString deviceState() const { return part<SymbolLabel>("restoreDeviceState")->text(); }
    bool canStart() const { return shows("startRestoreButton") && part("startRestoreButton")->isEnabled(); }
};

struct Sheet {
    explicit Sheet(StudioModel *model) : sheet(model, model->deviceMonitor(), model->restoreManager())
    {
        sheet.show();
    }
    // One key event per character, as a keyboard with a Cyrillic layout sends them.
    void type(const QString &text)
    {
        for (const QChar character : text)
            QTest::sendKeyEvent(QTest::Click, part(sheet, "confirmationPhrase"), Qt::Key_unknown,
                                QString(character), Qt::NoModifier);
    }
    bool canBegin() const { return part(sheet, "beginRestoreButton")->isEnabled(); }
    void begin() { QTest::mouseClick(part(sheet, "beginRestoreButton"), Qt::LeftButton); }

    RestoreConfirmationSheet sheet;
};

} // namespace

class RestoreViewTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void recoveryWatchNeedsAnImageThenTheRowFollowsTheRun()
    {
        ScreenStudio studio;
        Restore restore(studio.model());
        QCOMPARE(restore.deviceState(), QStringLiteral("Нужен сервисный кабель"));
        QVERIFY(restore.shows("restoreNoImage"));
        QCOMPARE(restore.transportCheck(), QStringLiteral("Полная проверка структуры Restore.ipsw"));
        QVERIFY(!restore.shows("restoreErrorBanner"));
        ScreenStudio::render(&restore.view, QStringLiteral("restore-empty"));
        studio.attachRecoveryWatch();
        QCOMPARE(restore.deviceState(), QStringLiteral("Recovery/DFU обнаружен"));
        QVERIFY(!restore.canStart());
        studio.startRestore(); // refused without an image
        QCOMPARE(restore.part<ErrorBanner>("restoreErrorBanner")->text(),
                 studio.model()->restoreManager()->lastError().value());
        QVERIFY(restore.shows("restoreErrorBanner"));
        ScreenStudio::render(&restore.view, QStringLiteral("restore-error"));
        studio.chooseImage(
            QStringLiteral("Watch6,1_10.2_21S364_Restore_with_a_rather_long_name_for_two_lines.ipsw"));
        QVERIFY(restore.canStart());
        ScreenStudio::render(&restore.view, QStringLiteral("restore-ready"));

        // The action row follows the image check and the restore.
        RestoreManager *manager = studio.model()->restoreManager();
        studio.installRestoreTool(true, true);
        auto validation = manager->validate(*studio.model()->selectedIPSW(), QStringLiteral("Watch6,1"));
        QVERIFY(manager->isValidating());
        QVERIFY(!restore.canStart());
        QVERIFY(QCoro::waitFor(std::move(validation)));
        QVERIFY(restore.canStart());

        studio.startRestore();
        QVERIFY(restore.shows("stopRestoreButton"));
        QVERIFY(!restore.shows("startRestoreButton"));
        restore.click("stopRestoreButton");
        QTRY_VERIFY(restore.canStart());
    }

    void kisWatchMayGoWithoutAnImage()
    {
        ScreenStudio studio;
        Restore restore(studio.model());
        studio.attachKISWatch();
        ScreenStudio::render(&restore.view, QStringLiteral("restore-kis"));
        QVERIFY(restore.shows("restoreConfiguratorImage"));
        QCOMPARE(restore.transportCheck(), QStringLiteral("Загрузка последней подписываемой версии Apple"));
        QCOMPARE(restore.deviceState(), QStringLiteral("Recovery/DFU обнаружен"));
        QVERIFY(restore.canStart());
        restore.click("startRestoreButton");
        QVERIFY(studio.model()->showRestoreConfirmation());

        studio.chooseImage(QStringLiteral("watchOS_10.ipsw"));
        QVERIFY(restore.shows("restoreImageName"));
        QVERIFY(!restore.shows("restoreConfiguratorImage"));
        QCOMPARE(restore.transportCheck(), QStringLiteral("Загрузка последней подписываемой версии Apple"));
    }

    // Only the exact word enables the start. Neither the start button without a watch nor Return
    // with one starts anything; a reopened sheet is empty. The start dismisses the sheet, shows the
    // log, and the image is read when the restore task runs, after the click: the tool gets the
    // image chosen meanwhile, with the application's arguments and environment.
    void onlyTheTypedWordAndTheButtonStartAndTheImageIsReadWhenItRuns()
    {
        ScreenStudio studio;
        studio.chooseImage(QStringLiteral("first.ipsw"));
        Sheet sheet(studio.model());
        auto *phrase = part<QLineEdit>(sheet.sheet, "confirmationPhrase");
        for (const QString &wrong : {QStringLiteral("ПРОШИТЬ "), QStringLiteral("прошить")}) {
            sheet.type(wrong);
            QVERIFY2(!sheet.canBegin(), qPrintable(wrong));
            phrase->clear();
        }
        sheet.type(QStringLiteral("ПРОШИТЬ"));
        QVERIFY(sheet.canBegin());
        ScreenStudio::render(&sheet.sheet, QStringLiteral("sheet-typed"));
        sheet.begin();
        QVERIFY(sheet.sheet.isVisible());
        studio.attachRecoveryWatch();
        QTest::keyClick(phrase, Qt::Key_Return);
        QVERIFY(sheet.sheet.isVisible());
        QCOMPARE(studio.model()->navigation(), NavigationSection::overview);

        QTest::mouseClick(part(sheet.sheet, "cancelRestoreButton"), Qt::LeftButton);
        QVERIFY(!sheet.sheet.isVisible());
        sheet.sheet.show();
        QCOMPARE(phrase->text(), QString());
        QVERIFY(!sheet.canBegin());
        ScreenStudio::render(&sheet.sheet, QStringLiteral("sheet-empty"));

        studio.installRestoreTool(false);
        sheet.type(QStringLiteral("ПРОШИТЬ"));
        sheet.begin();
        QVERIFY(!sheet.sheet.isVisible());
        QCOMPARE(sheet.sheet.result(), int(QDialog::Accepted));
        QCOMPARE(studio.model()->navigation(), NavigationSection::logs);
        studio.chooseImage(QStringLiteral("second.ipsw"));
        QTRY_VERIFY(studio.model()->restoreManager()->completedSuccessfully());
        QCOMPARE(studio.restoreToolArguments(),
                 (QStringList{"--erase", "--plain-progress", "--cache-path", ToolLocator::cacheDirectory(),
                              "--logfile=" + studio.announcedLogFile(),
                              QDir(studio.paths.downloads()).filePath(QStringLiteral("second.ipsw"))}));
        const QProcessEnvironment environment =
            FakeTools::recordedEnvironment(studio.paths.tool(QStringLiteral("bin/idevicerestore")));
        QCOMPARE(environment.value(QStringLiteral("LC_ALL")), QStringLiteral("C"));
        QVERIFY(environment.value(ToolLocator::librarySearchVariable()).startsWith(studio.paths.tool("lib")));
    }
};

QTEST_MAIN(RestoreViewTest)
#include "RestoreViewTest.moc"
