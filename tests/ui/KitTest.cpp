#include "app/model/StudioModel.h"
#include "support/TestPaths.h"
#include "ui/ActionRow.h"
#include "ui/BrandPicture.h"
#include "ui/FocusRing.h"
#include "ui/Icons.h"
#include "ui/PlainButton.h"
#include "ui/StudioBrandIcon.h"
#include "ui/StudioButton.h"
#include "ui/Theme.h"
#include "ui/UiTestSupport.h"
#include "ui/shell/MainWindow.h"
#include "ui/shell/RestoreQuitDialog.h"
#include "ui/shell/StudioRootView.h"
#include "ui/shell/UnsignedFirmwareAlert.h"

#include <QApplication>
#include <QDir>
#include <QHBoxLayout>
#include <QImage>
#include <QMenu>
#include <QMessageBox>
#include <QScopeGuard>
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

// The widget as its window draws it.
static QImage renderOnBlack(QWidget *widget)
{
    QImage image(widget->size(), QImage::Format_RGB32);
    image.fill(Qt::black);
    widget->parentWidget()->render(&image, {}, widget->geometry(), QWidget::DrawChildren);
    return image;
}

// A translucent colour laid over an opaque one.
static QColor blend(QColor top, QColor bottom)
{
    const qreal alpha = top.alphaF();
    return QColor::fromRgbF(float(top.redF() * alpha + bottom.redF() * (1 - alpha)),
                            float(top.greenF() * alpha + bottom.greenF() * (1 - alpha)),
                            float(top.blueF() * alpha + bottom.blueF() * (1 - alpha)));
}

// WCAG contrast of a translucent colour laid over an opaque one.
static qreal contrast(QColor over, QColor under)
{
    const auto luminance = [](QColor colour) {
        const auto channel = [](qreal value) {
            return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * channel(colour.redF()) + 0.7152 * channel(colour.greenF()) +
               0.0722 * channel(colour.blueF());
    };
    const qreal lighter = luminance(blend(over, under));
    const qreal darker = luminance(under);
    return (std::max(lighter, darker) + 0.05) / (std::min(lighter, darker) + 0.05);
}

// The kit's parts; the shell, its dialogs and the buttons in every style and state are drawn into PNG
// files under the build folder, at device pixel ratios 1 and 2, for people to look at.
class KitTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { Theme::applyDarkAppearance(*qApp); }

    // The backdrop runs from the start colour in the top-leading corner of the detail column to the
    // end colour in the bottom-trailing one, behind every screen alike.
    void shellInEverySection()
    {
        TestPaths paths;
        placeBrandPicture(paths);
        StudioRootView root(offlineModel());
        root.resize(1280, 800);
        const QWidget *detail = root.findChild<QWidget *>(QStringLiteral("detailColumn"));
        QVERIFY(detail);
        const QList<std::pair<std::optional<NavigationSection>, QString>> sections{
            {NavigationSection::overview, QStringLiteral("overview")},
            {NavigationSection::catalog, QStringLiteral("catalog")},
            {NavigationSection::restore, QStringLiteral("restore")},
            {NavigationSection::logs, QStringLiteral("logs")},
            {std::nullopt, QStringLiteral("none")}};
        for (const auto &[section, name] : sections) {
            root.model()->setNavigation(section);
            renderAt1xAnd2x(&root, QStringLiteral("shell-") + name);
            const QImage image = root.grab().toImage();
            const QRect area(detail->mapTo(&root, QPoint(0, 0)), detail->size());
            for (const auto &[point, wanted] :
                 {std::pair{area.topLeft() + QPoint(4, 4), Theme::studioBackgroundStart()},
                  std::pair{area.bottomRight() - QPoint(24, 4), Theme::studioBackgroundEnd()}}) {
                const QColor sampled = image.pixelColor(point);
                QVERIFY2(qAbs(sampled.red() - wanted.red()) <= 3 &&
                             qAbs(sampled.green() - wanted.green()) <= 3 &&
                             qAbs(sampled.blue() - wanted.blue()) <= 3,
                         qPrintable(name + QLatin1Char(' ') + sampled.name()));
            }
        }
        QVERIFY(root.findChild<StudioBrandIcon *>()->showsBundleImage());
    }

    void alerts()
    {
        UnsignedFirmwareAlert unsignedAlert;
        renderAt1xAnd2x(&unsignedAlert, QStringLiteral("unsigned-alert"));
        RestoreQuitDialog quitDialog;
        renderAt1xAnd2x(&quitDialog, QStringLiteral("restore-quit-dialog"));

        TestPaths paths;
        placeBrandPicture(paths);
        QCoreApplication::setApplicationVersion(QStringLiteral("1.0.0"));
        MainWindow window(offlineModel());
        window.findChild<QMenu *>(QStringLiteral("applicationMenu"))->actions().constFirst()->trigger();
        auto *about = window.findChild<QMessageBox *>(QStringLiteral("aboutBox"));
        QVERIFY(about);
        renderAt1xAnd2x(about, QStringLiteral("about-box"));
    }

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

    // A disabled control looks like a native disabled one: the whole enabled drawing, dimmed
    // (every pixel the same colour at lower opacity), the arrow pointer, and no press feedback.
    // Each button is rendered as it is, pressed and disabled.
    void disabledButtonsAreDimmedAsAWhole_data()
    {
        QTest::addColumn<int>("style"); // -1 is a plain button around an action row
        QTest::newRow("primary") << 0;
        QTest::newRow("secondary") << 1;
        QTest::newRow("danger") << 2;
        QTest::newRow("plain") << -1;
    }

    void disabledButtonsAreDimmedAsAWhole()
    {
        QFETCH(int, style);
        const QList<ButtonStyle> styles{PrimaryButtonStyle{}, SecondaryButtonStyle{}, DangerButtonStyle{}};
        QWidget window;
        QAbstractButton *button = nullptr;
        if (style >= 0)
            button = new StudioButton(styles.at(style), QStringLiteral("Начать восстановление"),
                                      QStringLiteral("bolt.fill"), &window);
        else
            button = new PlainButton(new ActionRow(QStringLiteral("wrench.and.screwdriver.fill"),
                                                   Theme::orange(), QStringLiteral("Восстановление"),
                                                   QStringLiteral("Проверка и прошивка")),
                                     QStringLiteral("Восстановление"), &window);
        button->resize(button->sizeHint().expandedTo(QSize(240, 40)));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
        const QImage enabled = renderOnBlack(button);
        const QString name = QStringLiteral("kit-button-") + QString::fromLatin1(QTest::currentDataTag());
        renderAt1xAnd2x(button, name);
        button->setDown(true);
        renderAt1xAnd2x(button, name + QStringLiteral("-pressed"));
        button->setDown(false);

        button->setEnabled(false);
        QCOMPARE(button->cursor().shape(), Qt::ArrowCursor);
        const QImage disabled = renderOnBlack(button);
        renderAt1xAnd2x(button, name + QStringLiteral("-disabled"));
        // Glyph edges are smoothed a little differently once drawn into the dimming layer; everything
        // else is the enabled pixel at the dimming opacity.
        qint64 enabledSum = 0;
        int matching = 0;
        for (int y = 0; y < enabled.height(); ++y) {
            for (int x = 0; x < enabled.width(); ++x) {
                const QRgb was = enabled.pixel(x, y);
                const QRgb is = disabled.pixel(x, y);
                const auto dimmed = [&](int (*channel)(QRgb)) {
                    return qAbs(channel(was) * Theme::Opacity::disabledControl - channel(is)) <= 3;
                };
                matching += dimmed(qRed) && dimmed(qGreen) && dimmed(qBlue) ? 1 : 0;
                enabledSum += qRed(was) + qGreen(was) + qBlue(was);
            }
        }
        QVERIFY(enabledSum > 20 * enabled.width() * enabled.height()); // something was drawn
        QVERIFY2(matching >= enabled.width() * enabled.height() * 9 / 10,
                 qPrintable(QString::number(matching)));

        QTest::mousePress(button, Qt::LeftButton);
        QVERIFY(!button->isDown());
        QCOMPARE(renderOnBlack(button), disabled);
        QTest::mouseRelease(button, Qt::LeftButton);

        button->setEnabled(true);
        QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
        QCOMPARE(renderOnBlack(button), enabled);
    }

    // The search field lies on white at 0.07 over the backdrop; the sheet's field on the palette's base.
    void placeholderTextIsReadableOnEveryField_data()
    {
        QTest::addColumn<QColor>("field");
        const QColor searchFill = Theme::withOpacity(Theme::white(), Theme::Opacity::searchFieldFill);
        QTest::newRow("search, backdrop start") << blend(searchFill, Theme::studioBackgroundStart());
        QTest::newRow("search, backdrop end") << blend(searchFill, Theme::studioBackgroundEnd());
        Theme::applyDarkAppearance(*qApp);
        QTest::newRow("sheet field") << QApplication::palette().color(QPalette::Base);
    }

    void placeholderTextIsReadableOnEveryField()
    {
        QFETCH(QColor, field);
        Theme::applyDarkAppearance(*qApp);
        const QColor placeholder = QApplication::palette().color(QPalette::PlaceholderText);
        QVERIFY2(contrast(placeholder, field) >= 4.5,
                 qPrintable(QString::number(contrast(placeholder, field))));
        QVERIFY(placeholder.alpha() < Theme::textPrimary().alpha()); // still reads as a placeholder
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
        QVERIFY(StudioBrandIcon(96).showsBundleImage());
        QVERIFY(!BrandPicture::windowIcon().isNull());
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
