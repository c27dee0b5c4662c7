#include "ui/shell/WindowFit.h"
#include "app/model/StudioModel.h"
#include "restore/RestoreManager.h"
#include "support/FakeTools.h"
#include "support/LocalHttpServer.h"
#include "support/TestPaths.h"
#include "ui/Theme.h"
#include "ui/UiTestSupport.h"
#include "ui/shell/MainWindow.h"
#include "ui/shell/QtTranslations.h"
#include "ui/shell/StudioRootView.h"

#include <QCoroTask>
#include <QTest>

namespace {

// A GNOME-like desktop: a 32-point panel at the top, a 38-point title bar on every window.
constexpr int panel = 32;
const QMargins titleBar(0, 38, 0, 0);

// The available area of a screen of `pixels` at `scale`, in points, below the panel.
QRect availableArea(QSize pixels, qreal scale)
{
    const QSize points = (QSizeF(pixels) / scale).toSize();
    return QRect(0, panel, points.width(), points.height() - panel);
}

} // namespace

// The window on laptop screens and scaled displays: the layout's minimum where the screen holds
// it, the screen's room where it does not, and every screen laid out in that room.
class WindowFitTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        Theme::applyDarkAppearance(*qApp);
        QtTranslations::install(*qApp);
    }

    void fitsTheScreen()
    {
        const QSize wanted = StudioRootView::minimumContentSize();
        // available, minimum, opening
        const std::vector<std::tuple<QRect, QSize, QSize>> screens{
            {availableArea({1920, 1200}, 1), {1120, 720}, {1280, 820}},
            {availableArea({1366, 768}, 1), {1120, 698}, {1280, 698}},
            {availableArea({1920, 1080}, 1.5), {1120, 650}, {1280, 650}},
            {availableArea({1600, 1000}, 2), {800, 430}, {800, 430}},
            {QRect(), {1120, 720}, {1280, 820}}, // no screen reported
        };
        for (const auto &[available, minimum, opening] : screens) {
            qInfo() << available;
            QCOMPARE(WindowFit::minimumSize(wanted, available, titleBar), minimum);
            QCOMPARE(WindowFit::openingSize({1280, 820}, minimum, available, titleBar), opening);
        }
    }

    // At the opening sizes of the laptop's and the scaled displays' rooms every screen lays out
    // without asking for more, the menu adds no row of its own, and the renders show what the user gets.
    void screensUseTheRoomTheyGet()
    {
        TestPaths paths;
        // A catalogue longer than the list's room, so the list scrolls.
        LocalHttpServer server;
        QStringList types;
        for (int model = 1; model <= 14; ++model)
            types << QStringLiteral("Watch%1,1").arg(model);
        MainWindow window(
            servedModel(server, catalogueOf(types, {"Watch3,1", "Watch6,1", "Watch9,1", "Watch12,1"})));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        StudioModel *model = window.rootView()->model();
        QTRY_COMPARE(model->firmware().size(), 14);
        // The tallest states: an unsigned firmware with its cautions, a long log and a restore
        // running, whose status line sits at the very bottom.
        WatchFirmware firmware = model->firmware().at(8);
        firmware.isCatalogSigned = false;
        firmware.currentSignedVersion = QStringLiteral("10.6.1");
        firmware.currentSignedBuild = QStringLiteral("21U580");
        model->select(firmware);
        RestoreManager *restore = model->restoreManager();
        for (int line = 1; line <= 120; ++line)
            restore->appendLog(QStringLiteral("[%1/120] Отправка образа").arg(line));
        FakeTools::write(paths.cfgutil(),
                         FakeToolBehaviour::running("trap 'exit 0' INT; while :; do sleep 0.1; done"));
        QCoro::waitFor(restore->startRestore(std::nullopt, kisWatch));
        QVERIFY(restore->isRestoring());

        const std::vector<std::pair<const char *, QSize>> rooms{
            {"1366x768", {1280, 698}}, {"1920x1080-150", {1280, 650}}, {"1600x1000-200", {800, 430}}};
        for (const auto &[screen, room] : rooms) {
            // The test's screen is not the one named: give the window that room.
            window.setMinimumSize(room);
            window.resize(room);
            QTRY_COMPARE(window.size(), room);
            QCOMPARE(window.rootView()->size(), room);
            QVERIFY(!window.menuWidget() || window.menuWidget()->isHidden());
            for (const NavigationSection section : Navigation::allCases()) {
                model->setNavigation(section);
                QTest::qWait(50);
                // The list opens at the selection; the keyboard's row, one below it, shows its ring.
                if (section == NavigationSection::catalog) {
                    auto *list = window.findChild<QWidget *>(QStringLiteral("firmwareList"));
                    list->setFocus(Qt::TabFocusReason);
                    QTest::keyClick(list, Qt::Key_Down);
                }
                const QSize needed = window.minimumSizeHint();
                QVERIFY2(needed.width() <= room.width() && needed.height() <= room.height(),
                         qPrintable(QString::fromLatin1(screen) + u' ' + Navigation::rawValue(section)));
                renderAt1xAnd2x(
                    &window,
                    QStringLiteral("window/%1-%2").arg(QString::fromLatin1(screen)).arg(int(section)));
            }
        }
        restore->stopBeforeExit(std::chrono::milliseconds(2000));
    }
};

QTEST_MAIN(WindowFitTest)
#include "WindowFitTest.moc"
