#include "support/TestPaths.h"
#include "ui/ActionRow.h"
#include "ui/BrandPicture.h"
#include "ui/Icons.h"
#include "ui/PlainButton.h"
#include "ui/StudioBrandIcon.h"
#include "ui/StudioButton.h"
#include "ui/Theme.h"
#include "ui/UiTestSupport.h"
#include "ui/WrappingLabel.h"
#include "ui/shell/MainWindow.h"
#include "ui/shell/RestoreQuitDialog.h"
#include "ui/shell/StudioRootView.h"
#include "ui/shell/UnsignedFirmwareAlert.h"

#include <QDir>
#include <QImage>
#include <QMenu>
#include <QMessageBox>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>

// Every symbol name the application draws, screens and shell alike.
static const QStringList usedSymbols =
    QStringLiteral(
        "applewatch applewatch.radiowaves.left.and.right arrow.clockwise arrow.down.circle.fill "
        "arrow.down.to.line arrow.right arrow.up.right bolt.fill cable.connector.slash checkmark.circle.fill "
        "checkmark.seal.fill checkmark.shield.fill chevron.right circle doc.badge.plus doc.on.doc doc.zipper "
        "exclamationmark.circle.fill exclamationmark.shield.fill exclamationmark.triangle.fill folder "
        "info.circle.fill lock.open.fill magnifyingglass paperplane.fill shippingbox.fill "
        "square.and.arrow.down square.grid.2x2 text.alignleft wrench.and.screwdriver.fill xmark.circle.fill")
        .split(u' ');

// The kit's parts; the shell, its dialogs and the buttons in every style and state are drawn into PNG
// files under the build folder, at device pixel ratios 1 and 2, for people to look at.
class KitTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { Theme::applyDarkAppearance(*qApp); }

    void shellInEverySectionAndItsDialogs()
    {
        TestPaths paths;
        placeBrandPicture(paths);
        StudioRootView root(offlineModel());
        root.resize(1280, 800);
        const QList<std::pair<std::optional<NavigationSection>, QString>> sections{
            {NavigationSection::overview, QStringLiteral("overview")},
            {NavigationSection::catalog, QStringLiteral("catalog")},
            {NavigationSection::restore, QStringLiteral("restore")},
            {NavigationSection::logs, QStringLiteral("logs")},
            {std::nullopt, QStringLiteral("none")}};
        for (const auto &[section, name] : sections) {
            root.model()->setNavigation(section);
            renderAt1xAnd2x(&root, QStringLiteral("shell-") + name);
        }
        QVERIFY(root.findChild<StudioBrandIcon *>()->showsBundleImage());

        UnsignedFirmwareAlert unsignedAlert;
        renderAt1xAnd2x(&unsignedAlert, QStringLiteral("unsigned-alert"));
        RestoreQuitDialog quitDialog;
        renderAt1xAnd2x(&quitDialog, QStringLiteral("restore-quit-dialog"));
        QCoreApplication::setApplicationVersion(QStringLiteral("1.0.0"));
        MainWindow window(offlineModel());
        window.findChild<QMenu *>(QStringLiteral("applicationMenu"))->actions().constFirst()->trigger();
        auto *about = window.findChild<QMessageBox *>(QStringLiteral("aboutBox"));
        QVERIFY(about);
        renderAt1xAnd2x(about, QStringLiteral("about-box"));
    }

    // A symbol name without a glyph would leave an empty place in the window.
    void everyUsedSymbolHasAGlyph()
    {
        for (const QString &name : usedSymbols)
            QVERIFY2(!Icons::pixmap(name, Theme::studioAccent(), QSize(16, 16), 2.0).isNull(),
                     qPrintable(name));
    }

    // Adding a face empties the font cache: after the theme's first family, none may be added.
    void laterFontDesignsLeaveTheLoadedFontsAlone()
    {
        QSignalSpy changes(qApp, &QGuiApplication::fontDatabaseChanged);
        Theme::font(30, QFont::ExtraBold, Theme::FontDesign::rounded);
        Theme::font(12, QFont::Bold, Theme::FontDesign::monospaced);
        QCOMPARE(changes.count(), 0);
    }

    // The heights a wrapped text keeps per width are taken again once its text or font changes.
    void wrappedTextsMeasureAgainWhenTheyChange()
    {
        WrappingLabel label(QStringLiteral("Часы"));
        const int line = label.heightForWidth(120);
        label.setText(QStringLiteral("Подключите сервисный кабель и включите Recovery/DFU"));
        const int lines = label.heightForWidth(120);
        QVERIFY(lines > line);
        label.setFont(Theme::font(26));
        QVERIFY(label.heightForWidth(120) > lines);
    }

    // A disabled control looks like a native disabled one: dimmed, the arrow pointer, and no press
    // feedback. Each button is rendered as it is, pressed and disabled.
    void disabledButtonsAreDimmedAsAWhole()
    {
        const QString text = QStringLiteral("Начать восстановление");
        const QList<std::pair<QString, ButtonStyle>> styles{{"primary", PrimaryButtonStyle{}},
                                                            {"secondary", SecondaryButtonStyle{}},
                                                            {"danger", DangerButtonStyle{}},
                                                            {"plain", {}}};
        for (const auto &[style, look] : styles) {
            QWidget window;
            QAbstractButton *button =
                style != u"plain"
                    ? static_cast<QAbstractButton *>(
                          new StudioButton(look, text, QStringLiteral("bolt.fill"), &window))
                    : new PlainButton(new ActionRow(QStringLiteral("wrench.and.screwdriver.fill"),
                                                    Theme::orange(), QStringLiteral("Восстановление"),
                                                    QStringLiteral("Проверка и прошивка")),
                                      QStringLiteral("Восстановление"), &window);
            button->resize(button->sizeHint().expandedTo(QSize(240, 40)));
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
            const QImage enabled = drawn(button);
            const QString name = QStringLiteral("kit-button-") + style;
            renderAt1xAnd2x(button, name);
            button->setDown(true);
            renderAt1xAnd2x(button, name + QStringLiteral("-pressed"));
            button->setDown(false);

            button->setEnabled(false);
            QCOMPARE(button->cursor().shape(), Qt::ArrowCursor);
            const QImage disabled = drawn(button);
            renderAt1xAnd2x(button, name + QStringLiteral("-disabled"));
            QVERIFY2(disabled != enabled, qPrintable(style));

            QTest::mousePress(button, Qt::LeftButton);
            QVERIFY(!button->isDown());
            QCOMPARE(drawn(button), disabled);
            QTest::mouseRelease(button, Qt::LeftButton);

            button->setEnabled(true);
            QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
            QCOMPARE(drawn(button), enabled);
        }
    }

    void brandIconUsesTheBundledPictureOnlyWhenItLoads()
    {
        TestPaths paths;
        // An installed copy of the application must not lend its themed icon to this test.
        const QStringList themeFolders = QIcon::themeSearchPaths();
        QIcon::setThemeSearchPaths({paths.root()});
        const auto restoreThemeFolders = qScopeGuard([&] { QIcon::setThemeSearchPaths(themeFolders); });
        QVERIFY(!StudioBrandIcon(42).showsBundleImage());
        QVERIFY(BrandPicture::windowIcon().isNull());

        QFile broken(QDir(paths.resources()).filePath(QStringLiteral("CorvalinStudio-Owl-1024.png")));
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write("not a picture");
        broken.close();
        QVERIFY(!StudioBrandIcon(42).showsBundleImage());

        QVERIFY(broken.remove());
        placeBrandPicture(paths);
        QVERIFY(!BrandPicture::windowIcon().isNull()); // the sidebar takes it in the shell test above
    }

private:
    // The picture the build rendered, where the application looks for it.
    static void placeBrandPicture(const TestPaths &paths)
    {
        const QString target =
            QDir(paths.resources()).filePath(QStringLiteral("CorvalinStudio-Owl-1024.png"));
        QVERIFY(QFile::copy(QStringLiteral(CORVALIN_BRAND_PICTURE), target));
    }
};

QTEST_MAIN(KitTest)
#include "KitTest.moc"
