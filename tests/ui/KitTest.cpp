#include "support/TestPaths.h"
#include "ui/BrandPicture.h"
#include "ui/CheckLine.h"
#include "ui/FocusRing.h"
#include "ui/Icons.h"
#include "ui/PageHeader.h"
#include "ui/StudioBrandIcon.h"
#include "ui/StudioButton.h"
#include "ui/Theme.h"

#include <QDir>
#include <QHBoxLayout>
#include <QImage>
#include <QLabel>
#include <QScopeGuard>
#include <QTest>

// Every symbol name the application draws, screens and shell alike.
static const QStringList usedSymbols{"applewatch",
                                     "applewatch.radiowaves.left.and.right",
                                     "arrow.clockwise",
                                     "arrow.down.circle.fill",
                                     "arrow.down.to.line",
                                     "arrow.right",
                                     "arrow.up.right",
                                     "bolt.fill",
                                     "cable.connector.slash",
                                     "checkmark.circle.fill",
                                     "checkmark.seal.fill",
                                     "checkmark.shield.fill",
                                     "chevron.right",
                                     "circle",
                                     "doc.badge.plus",
                                     "doc.on.doc",
                                     "doc.zipper",
                                     "exclamationmark.circle.fill",
                                     "exclamationmark.shield.fill",
                                     "exclamationmark.triangle.fill",
                                     "folder",
                                     "info.circle.fill",
                                     "lock.open.fill",
                                     "magnifyingglass",
                                     "paperplane.fill",
                                     "shippingbox.fill",
                                     "square.and.arrow.down",
                                     "square.grid.2x2",
                                     "text.alignleft",
                                     "wrench.and.screwdriver.fill",
                                     "xmark.circle.fill"};

class KitTest final : public QObject {
    Q_OBJECT

private slots:
    void everyUsedSymbolResolvesToATintedCrispGlyph()
    {
        const QColor tint = Theme::studioAccent();
        for (const QString &name : usedSymbols) {
            QVERIFY2(Icons::has(name), qPrintable(name));
            const QPixmap pixmap = Icons::pixmap(name, tint, QSize(16, 16), 2.0);
            QCOMPARE(pixmap.size(), QSize(32, 32));
            QCOMPARE(pixmap.devicePixelRatio(), 2.0);
            const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
            int opaque = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    const QColor pixel = image.pixelColor(x, y);
                    if (pixel.alpha() == 255) {
                        ++opaque;
                        QCOMPARE(pixel.rgb(), tint.rgb());
                    }
                }
            }
            QVERIFY2(opaque > 10, qPrintable(name));
        }
        QVERIFY(!Icons::has(QStringLiteral("no.such.symbol")));
        QVERIFY(Icons::pixmap(QStringLiteral("no.such.symbol"), tint, QSize(16, 16), 1).isNull());
    }

    void pressingChangesOnlyWhatTheStyleSays_data()
    {
        QTest::addColumn<StudioButtonStyle>("style");
        QTest::addColumn<QColor>("fill");
        QTest::addColumn<QColor>("pressedFill");
        QTest::addColumn<qreal>("pressedOpacity");
        QTest::addColumn<qreal>("pressedScale");
        QTest::newRow("primary") << StudioButtonStyle::primary << Theme::studioAccentDeep()
                                 << Theme::studioAccentDeep() << 0.75 << 0.98;
        QTest::newRow("secondary") << StudioButtonStyle::secondary << Theme::withOpacity(Theme::white(), 0.07)
                                   << Theme::withOpacity(Theme::white(), 0.12) << 1.0 << 1.0;
        QTest::newRow("danger") << StudioButtonStyle::danger << Theme::withOpacity(Theme::red(), 0.9)
                                << Theme::withOpacity(Theme::red(), 0.7) << 1.0 << 1.0;
    }

    void pressingChangesOnlyWhatTheStyleSays()
    {
        QFETCH(StudioButtonStyle, style);
        QFETCH(QColor, fill);
        QFETCH(QColor, pressedFill);
        QFETCH(qreal, pressedOpacity);
        QFETCH(qreal, pressedScale);

        StudioButton button(style, QStringLiteral("Скачать"), QStringLiteral("arrow.down.to.line"));
        button.resize(button.sizeHint());
        button.setEnabled(false); // disabled buttons keep the style's colours
        QCOMPARE(button.look().fill, fill);
        QCOMPARE(button.look().opacity, 1.0);
        QCOMPARE(button.look().scale, 1.0);
        button.setEnabled(true);
        const QImage released = button.grab().toImage();

        QTest::mousePress(&button, Qt::LeftButton);
        QCOMPARE(button.look().fill, pressedFill);
        QCOMPARE(button.look().opacity, pressedOpacity);
        QCOMPARE(button.look().scale, pressedScale);
        QVERIFY(button.grab().toImage() != released);

        QTest::mouseRelease(&button, Qt::LeftButton);
        QCOMPARE(button.look().fill, fill);
        QCOMPARE(button.grab().toImage(), released);
    }

    void keyboardActivatesButtons()
    {
        StudioButton button(StudioButtonStyle::secondary, QStringLiteral("Проверить"));
        QCOMPARE(button.focusPolicy(), Qt::StrongFocus);
        int clicks = 0;
        connect(&button, &QAbstractButton::clicked, this, [&clicks] { ++clicks; });
        QTest::keyClick(&button, Qt::Key_Return);
        QTest::keyClick(&button, Qt::Key_Space);
        QCOMPARE(clicks, 2);
        QCOMPARE(button.accessibleName().isEmpty() ? button.text() : button.accessibleName(),
                 QStringLiteral("Проверить"));
    }

    void onlyKeyboardFocusShowsARing()
    {
        QWidget window;
        auto *layout = new QHBoxLayout(&window);
        auto *button = new StudioButton(StudioButtonStyle::secondary, QStringLiteral("Проверить"));
        auto *other = new StudioButton(StudioButtonStyle::secondary, QStringLiteral("Другая"));
        layout->addWidget(button);
        layout->addWidget(other);
        window.show();
        QApplication::setActiveWindow(&window);
        QVERIFY(QTest::qWaitForWindowActive(&window));

        button->setFocus(Qt::MouseFocusReason);
        QVERIFY(button->hasFocus());
        QVERIFY(!FocusRing::isVisible(button));
        other->setFocus(Qt::TabFocusReason);
        QVERIFY(FocusRing::isVisible(other));
        QVERIFY(!FocusRing::isVisible(button));
        button->setFocus(Qt::ActiveWindowFocusReason);
        QVERIFY(!FocusRing::isVisible(button));
    }

    void headerUpperCasesTheEyebrowAndTakesAnOptionalAction()
    {
        PageHeader header(QStringLiteral("appleDB · cdn apple"), QStringLiteral("Каталог"),
                          QStringLiteral("Полные"));
        QCOMPARE(header.eyebrowText(), QStringLiteral("APPLEDB · CDN APPLE"));
        QVERIFY(!header.action());
        QPointer<QWidget> first = new QLabel(QStringLiteral("первое"));
        header.setAction(first);
        QCOMPARE(header.action(), first.data());
        header.setAction(new QLabel(QStringLiteral("второе")));
        QVERIFY(first.isNull());
        header.setAction(nullptr);
        QVERIFY(!header.action());
    }

    void checkLineSwitchesSymbolWithWarning()
    {
        CheckLine line(QStringLiteral("Образ проверен"), false);
        QCOMPARE(line.symbol(), QStringLiteral("checkmark.circle.fill"));
        line.setWarning(true);
        QCOMPARE(line.symbol(), QStringLiteral("exclamationmark.triangle.fill"));
    }

    void brandIconUsesTheBundledPictureOnlyWhenItLoads()
    {
        TestPaths paths;
        // An installed copy of the application must not lend its themed icon to this test.
        const QStringList themeFolders = QIcon::themeSearchPaths();
        QIcon::setThemeSearchPaths({paths.root()});
        const auto restoreThemeFolders = qScopeGuard([&] { QIcon::setThemeSearchPaths(themeFolders); });
        StudioBrandIcon missing(42);
        QVERIFY(!missing.showsBundleImage());
        QVERIFY(BrandPicture::windowIcon().isNull());

        QFile broken(QDir(paths.resources()).filePath(QStringLiteral("CorvalinStudio-Owl-1024.png")));
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write("not a picture");
        broken.close();
        QVERIFY(!StudioBrandIcon(42).showsBundleImage());

        QImage owl(64, 64, QImage::Format_ARGB32);
        owl.fill(Qt::darkCyan);
        QVERIFY(owl.save(broken.fileName(), "PNG"));
        StudioBrandIcon found(96);
        QVERIFY(found.showsBundleImage());
        QCOMPARE(found.size(), QSize(96, 96));
        QVERIFY(!BrandPicture::windowIcon().isNull());
    }
};

QTEST_MAIN(KitTest)
#include "KitTest.moc"
