#include "app/StudioModel.h"
#include "support/TestPaths.h"
#include "ui/ActionRow.h"
#include "ui/CheckLine.h"
#include "ui/ErrorBanner.h"
#include "ui/PageHeader.h"
#include "ui/PlainButton.h"
#include "ui/StatusLabel.h"
#include "ui/StudioBackground.h"
#include "ui/StudioBrandIcon.h"
#include "ui/StudioButton.h"
#include "ui/StudioCard.h"
#include "ui/Theme.h"
#include "ui/shell/RestoreQuitDialog.h"
#include "ui/shell/StudioRootView.h"
#include "ui/shell/UnsignedFirmwareAlert.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QTest>
#include <QVBoxLayout>

// Draws the shell and every kit component into PNG files under the build folder, at device
// pixel ratios 1 and 2, for people to look at; the shell's backdrop is also checked by its pixels.
class KitRenderTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        Theme::applyDarkAppearance(*qApp);
        const QString base = qEnvironmentVariable("CORVALIN_TEST_OUTPUT", QDir::tempPath());
        m_folder = QDir(base).filePath(QStringLiteral("render"));
        QVERIFY(QDir().mkpath(m_folder));
    }

    // The backdrop runs from the start colour in the top-leading corner of the detail column to the
    // end colour in the bottom-trailing one, behind every screen alike.
    void shellInEverySection()
    {
        TestPaths paths;
        placeBrandPicture(paths);
        StudioRootView root(new StudioModel(QUrl(QStringLiteral("http://127.0.0.1:9/")), {}));
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
            save(&root, QStringLiteral("shell-") + name);
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
        save(&unsignedAlert, QStringLiteral("unsigned-alert"));
        RestoreQuitDialog quitDialog;
        save(&quitDialog, QStringLiteral("restore-quit-dialog"));
    }

    void everyKitComponent()
    {
        TestPaths paths;
        placeBrandPicture(paths);
        auto *card = new StudioCard;
        card->contentLayout()->addWidget(new QLabel(QStringLiteral("Карточка с содержимым")));
        card->contentLayout()->addWidget(new CheckLine(QStringLiteral("Образ поддерживает модель"), false));
        card->contentLayout()->addWidget(
            new CheckLine(QStringLiteral("Все данные на часах будут стёрты"), true));
        QList<std::pair<QString, QWidget *>> parts{
            {QStringLiteral("page-header"),
             new PageHeader(QStringLiteral("AppleDB · CDN Apple"), QStringLiteral("Каталог прошивок"),
                            QStringLiteral("Полные Restore.ipsw с проверкой модели и контрольной суммы"),
                            new StudioButton(SecondaryButtonStyle{}, QStringLiteral("Обновить"),
                                             QStringLiteral("arrow.clockwise")))},
            {QStringLiteral("card-with-check-lines"), card},
            {QStringLiteral("action-row"),
             new ActionRow(QStringLiteral("doc.badge.plus"), Theme::studioRose(),
                           QStringLiteral("Выбрать IPSW"), QStringLiteral("Локальный полный образ"))},
            {QStringLiteral("action-row-in-plain-button"),
             new PlainButton(new ActionRow(QStringLiteral("square.and.arrow.down"), Theme::studioAccent(),
                                           QStringLiteral("Найти прошивку"),
                                           QStringLiteral("0 моделей в каталоге")),
                             QStringLiteral("Найти прошивку"))},
            {QStringLiteral("status-label"),
             new StatusLabel(QStringLiteral("Подпись"), QStringLiteral("checkmark.seal.fill"),
                             Theme::studioAccent())},
            {QStringLiteral("error-banner"),
             new ErrorBanner(QStringLiteral("Контрольная сумма SHA-256 не совпадает."))},
            {QStringLiteral("brand-icon"), new StudioBrandIcon(72)}};
        const QList<std::pair<QString, ButtonStyle>> styles{
            {QStringLiteral("primary"), PrimaryButtonStyle{}},
            {QStringLiteral("secondary"), SecondaryButtonStyle{}},
            {QStringLiteral("danger"), DangerButtonStyle{}}};
        for (const auto &[kind, style] : styles) {
            for (const QString &state :
                 {QString(), QStringLiteral("-pressed"), QStringLiteral("-disabled")}) {
                auto *button = new StudioButton(style, QStringLiteral("Проверить и прошить"),
                                                QStringLiteral("bolt.fill"));
                button->setDown(state == u"-pressed");
                button->setEnabled(state != u"-disabled");
                parts.append({QStringLiteral("button-") + kind + state, button});
            }
        }

        StudioBackground gallery;
        auto *column = new QVBoxLayout(&gallery);
        column->setContentsMargins(28, 28, 28, 28);
        column->setSpacing(14);
        for (const auto &part : std::as_const(parts))
            column->addWidget(part.second, 0,
                              qobject_cast<StudioBrandIcon *>(part.second) ? Qt::AlignLeft : Qt::Alignment());
        gallery.resize(720, gallery.sizeHint().height());
        gallery.show();
        QVERIFY(QTest::qWaitForWindowExposed(&gallery));
        save(&gallery, QStringLiteral("kit-gallery"));
        for (const auto &[name, widget] : std::as_const(parts))
            save(widget, QStringLiteral("kit-") + name);
    }

private:
    // The picture the build rendered, where the application looks for it.
    static void placeBrandPicture(const TestPaths &paths)
    {
        const QString target =
            QDir(paths.resources()).filePath(QStringLiteral("CorvalinStudio-Owl-1024.png"));
        QVERIFY(QFile::copy(QStringLiteral(CORVALIN_BRAND_PICTURE), target));
    }

    void save(QWidget *widget, const QString &name)
    {
        widget->ensurePolished();
        if (widget->isWindow() && !widget->isVisible()) {
            widget->show();
            QVERIFY(QTest::qWaitForWindowExposed(widget));
        }
        for (const int ratio : {1, 2}) {
            QImage image(widget->size() * ratio, QImage::Format_ARGB32_Premultiplied);
            image.setDevicePixelRatio(ratio);
            image.fill(Qt::black);
            widget->render(&image);
            const QString file = QDir(m_folder).filePath(QStringLiteral("%1@%2x.png").arg(name).arg(ratio));
            QVERIFY2(image.save(file), qPrintable(file));
        }
    }

    QString m_folder;
};

QTEST_MAIN(KitRenderTest)
#include "KitRenderTest.moc"
