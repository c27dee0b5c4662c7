#include "ScreenStudio.h"
#include "ui/UiTestSupport.h"
#include "ui/screens/FirmwareText.h"

#include "download/DownloadManager.h"
#include "ui/screens/CatalogView.h"
#include "ui/screens/FirmwareListModel.h"

#include <QFileInfo>
#include <QLineEdit>
#include <QListView>
#include <QStandardPaths>
#include <QTest>

namespace {

struct Catalogue : Screen<CatalogView> {
    explicit Catalogue(StudioModel *model) : Screen(model)
    {
        if (!showActive(view))
            qFatal("the catalogue window never became active");
    }

    QAbstractItemModel *rows() const { return part<QListView>("firmwareList")->model(); }
    QStringList column(int role) const
    {
        QStringList values;
        for (int row = 0; row < rows()->rowCount(); ++row)
            values << rows()->index(row, 0).data(role).toString();
        return values;
    }
};

} // namespace

class CatalogViewTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void searchRefreshAndRowsThatFollowTheModelAndTheCache()
    {
        ScreenStudio studio;
        studio.loadCatalog();
        Catalogue catalogue(studio.model());
        QVERIFY(!catalogue.shows("catalogSearchClear"));

        QTest::keyClicks(catalogue.part("catalogSearchField"), QStringLiteral("WATCH6"));
        QCOMPARE(catalogue.column(FirmwareListModel::ProductTypeRole),
                 QStringList{QStringLiteral("Watch6,1")});

        QTest::keyClicks(catalogue.part("catalogSearchField"), QStringLiteral("zz"));
        QCOMPARE(catalogue.rows()->rowCount(), 0);
        QVERIFY(catalogue.shows("firmwareList"));
        QVERIFY(catalogue.shows("catalogSearchClear"));

        // Cleared from the keyboard, the typing goes on in the field.
        catalogue.part("catalogSearchClear")->setFocus(Qt::TabFocusReason);
        QTest::keyClick(catalogue.part("catalogSearchClear"), Qt::Key_Space);
        QVERIFY(catalogue.part("catalogSearchField")->hasFocus());
        QCOMPARE(catalogue.part<QLineEdit>("catalogSearchField")->text(), QString());
        QCOMPARE(catalogue.rows()->rowCount(), 3);
        QVERIFY(!catalogue.shows("catalogSearchClear"));

        // The indicator shows only while the first list loads (checked through the shell); a
        // refresh over a shown list keeps it and only disables the button.
        QVERIFY(!catalogue.shows("catalogLoading"));
        auto again = studio.model()->refreshCatalog();
        QVERIFY(catalogue.shows("firmwareList"));
        QVERIFY(!catalogue.part("catalogRefreshButton")->isEnabled());
        QCoro::waitFor(std::move(again));
        QVERIFY(catalogue.part("catalogRefreshButton")->isEnabled());

        // Rows paint from what is known in memory: painting never creates the cache folder, and the
        // downloaded state is read again whenever the cache may have changed.
        const QString cacheFolder = QFileInfo(studio.cachedPath(QStringLiteral("x"))).absolutePath();
        (void)catalogue.view.grab();
        QVERIFY2(!QFileInfo::exists(cacheFolder),
                 "looking up and painting the rows created the cache folder");
        QCOMPARE(catalogue.column(FirmwareListModel::StatusTextRole),
                 (QStringList{QStringLiteral("Подпись"), QStringLiteral("Не подписана"),
                              QStringLiteral("Не подписана")}));

        // An image copied in behind the application's back shows once the user picks a firmware,
        // as downloaded even when it is unsigned, and is the image to restore from.
        studio.putInCache(studio.firmware(QStringLiteral("Watch5,9")).filename);
        studio.model()->select(studio.firmware(QStringLiteral("Watch5,9")));
        QCOMPARE(studio.model()->selectedIPSW(),
                 std::optional(studio.cachedPath(studio.firmware(QStringLiteral("Watch5,9")).filename)));
        QCOMPARE(catalogue.column(FirmwareListModel::StatusTextRole),
                 (QStringList{QStringLiteral("Подпись"), QStringLiteral("Загружено"),
                              QStringLiteral("Не подписана")}));

        auto *list = catalogue.part<QListView>("firmwareList");
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualRect(catalogue.rows()->index(2, 0)).center());
        QCOMPARE(studio.model()->selectedFirmware()->productType, QStringLiteral("Watch6,1"));
        QCOMPARE(catalogue.column(FirmwareListModel::IsSelectedRole),
                 (QStringList{QStringLiteral("false"), QStringLiteral("false"), QStringLiteral("true")}));
        ScreenStudio::render(&catalogue.view, QStringLiteral("catalog-rows"));

        // From the keyboard: the arrows move, Return and Space pick the current row.
        list->setFocus(Qt::TabFocusReason);
        QCOMPARE(list->currentIndex().row(), 2);
        QTest::keyClick(list, Qt::Key_Up);
        QTest::keyClick(list, Qt::Key_Up);
        QCOMPARE(studio.model()->selectedFirmware()->productType, QStringLiteral("Watch6,1"));
        QTest::keyClick(list, Qt::Key_Return);
        QCOMPARE(studio.model()->selectedFirmware()->productType, QStringLiteral("Watch3,1"));
        QTest::keyClick(list, Qt::Key_Down);
        QTest::keyClick(list, Qt::Key_Space);
        QCOMPARE(studio.model()->selectedFirmware()->productType, QStringLiteral("Watch5,9"));

        // What assistive tools read: everything the row shows, and whether it is picked.
        const QStringList spoken = catalogue.column(Qt::AccessibleTextRole);
        QVERIFY2(spoken.at(1).startsWith(QStringLiteral("Watch5,9 ")), qPrintable(spoken.at(1)));
        const WatchFirmware &picked = studio.firmware(QStringLiteral("Watch5,9"));
        for (const QString &part :
             {picked.deviceName, picked.version, picked.build, FirmwareText::sizeText(picked.size),
              QStringLiteral("Загружено"), QStringLiteral(", выбрана")})
            QVERIFY2(spoken.at(1).contains(part), qPrintable(spoken.at(1)));
        QVERIFY(spoken.at(0).endsWith(QStringLiteral(", не выбрана")));

        // A finished download shows at once and becomes the image to restore from.
        studio.imageServer.setResponse(QStringLiteral("/Watch3,1_8.8.1_Restore.ipsw"),
                                       HttpResponse::ok(QByteArray(1000, 'x')));
        studio.model()->select(studio.firmware(QStringLiteral("Watch3,1")));
        QVERIFY(!studio.model()->selectedIPSW()); // none in the cache yet
        studio.model()->requestDownloadSelected();
        QVERIFY(studio.model()->downloader()->isDownloading());
        QTRY_COMPARE(catalogue.column(FirmwareListModel::StatusTextRole),
                     (QStringList{QStringLiteral("Загружено"), QStringLiteral("Загружено"),
                                  QStringLiteral("Не подписана")}));
        const QString image = studio.cachedPath(QStringLiteral("Watch3,1_8.8.1_Restore.ipsw"));
        QTRY_COMPARE(studio.model()->selectedIPSW(), std::optional(image));
        QCOMPARE(studio.logLines().constLast(), QStringLiteral("Прошивка готова: ") + image);
    }
};

QTEST_MAIN(CatalogViewTest)
#include "CatalogViewTest.moc"
