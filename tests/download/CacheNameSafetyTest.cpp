#include "DownloadTestHarness.h"

#include "download/CacheFileName.h"
#include "support/TestFiles.h"

#include <QDirIterator>
#include <QStandardPaths>

namespace {

const QString refusal =
    QStringLiteral("Ссылка каталога не содержит допустимого имени файла, поэтому образ не загружается.");

// Every entry below `folder`, hidden ones included, as paths relative to it.
QStringList treeOf(const QString &folder)
{
    QStringList entries;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        entries << QDir(folder).relativeFilePath(it.next());
    entries.sort();
    return entries;
}

} // namespace

// Names from the catalogue's links reach the file system only when they are plain file names.
class CacheNameSafetyTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    // A firmware listed under a name that is not plain is never "already downloaded", nothing is
    // fetched, nothing is written anywhere, and the caller hears why.
    void plainNamesOnly_data()
    {
        QTest::addColumn<QString>("link");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("plain");
        const auto row = [](const char *tag, const QString &link, const QString &name, bool plain) {
            QTest::newRow(tag) << link << name << plain;
        };
        const QString host = QStringLiteral("https://updates.cdn-apple.com");
        const QString base = host + QStringLiteral("/a/");
        row("ordinary", base + "Watch6,1_Restore.ipsw", "Watch6,1_Restore.ipsw", true);
        row("trailing slash", base + "Watch6,1_Restore.ipsw/", "Watch6,1_Restore.ipsw", true);
        row("escaped space", base + "a%20b.ipsw", "a b.ipsw", true);
        row("colon inside", base + "a:b.ipsw", "a:b.ipsw", true);
        row("escaped slash", base + "a%2F..%2F..%2Fb", "b", true);
        row("255 bytes", base + QString(255, u'x'), QString(255, u'x'), true);
        row("Qt resource path", base + ":probe.ipsw", ":probe.ipsw", false);
        row("escaped NUL naming another model's image", base + "Watch7,1_11.0_Restore.ipsw%00.ipsw",
            QStringLiteral("Watch7,1_11.0_Restore.ipsw") + QChar(0) + ".ipsw", false);
        row("parent folder", base + "..", "..", false);
        row("same folder", base + ".", ".", false);
        row("bare host", host, "", false);
        row("query only", host + "?x=1", "", false);
        row("root only", host + '/', "/", false);
        row("256 bytes", base + QString(256, u'x'), QString(256, u'x'), false);
        // Two bytes each in UTF-8: 128 of them make 256 bytes.
        row("256 bytes of Cyrillic", base + QString(128, u'ж'), QString(128, u'ж'), false);
    }
    void plainNamesOnly()
    {
        QFETCH(QString, link);
        QFETCH(QString, name);
        QFETCH(bool, plain);
        QCOMPARE(CacheFileName::fromURL(QUrl(link, QUrl::StrictMode)), name);
        QCOMPARE(CacheFileName::isPlain(name), plain);
        if (plain)
            return;

        DownloadTestHarness h;
        h.server.setResponse(QStringLiteral("/fw/image.ipsw"), HttpResponse::ok("Watch6,1's body"));
        const QString otherImage = h.cached(QStringLiteral("Watch7,1_11.0_Restore.ipsw"));
        QVERIFY(writeFile(otherImage, "Watch7,1's image"));
        const QString workingFolder = QDir::currentPath();
        const QStringList workingBefore = treeOf(workingFolder);
        const QStringList downloadsBefore = treeOf(h.paths.downloads());

        WatchFirmware firmware = h.firmware(QStringLiteral("/fw/image.ipsw"));
        firmware.filename = name;
        QCOMPARE(h.manager.existingFile(firmware), std::nullopt);
        const auto log = h.start(firmware);
        QVERIFY(!h.manager.isDownloading());
        QVERIFY(waitForCalls(*log));
        QVERIFY(!log->last->ok());
        QCOMPARE(log->last->failure().description(), refusal);
        QCOMPARE(h.manager.errorText(), std::optional<QString>(refusal));
        QCOMPARE(h.manager.statusText(), QStringLiteral("Ошибка сохранения"));
        QCOMPARE(h.manager.downloadedURL(), std::nullopt);
        QVERIFY(log->alwaysOnGuiThread);

        QTest::qWait(100);
        QVERIFY(h.server.requests().isEmpty());
        QCOMPARE(fileContents(otherImage), QByteArray("Watch7,1's image"));
        QCOMPARE(treeOf(h.paths.downloads()), downloadsBefore);
        QCOMPARE(treeOf(workingFolder), workingBefore);
    }

    // A link whose name is not plain is saved under a generated name, should one ever reach the
    // transfer; the cached image of the name it spells is untouched.
    void transferOfAnUnsafeLinkSavesUnderAGeneratedName()
    {
        DownloadTestHarness h;
        const QString path = QStringLiteral("/fw/Watch7,1_11.0_Restore.ipsw%00.ipsw");
        h.server.setResponse(path, HttpResponse::ok("Watch6,1's body"));
        const QString other = h.cached(QStringLiteral("Watch7,1_11.0_Restore.ipsw"));
        QVERIFY(writeFile(other, "Watch7,1's image"));

        WatchFirmware firmware = h.firmware(path);
        firmware.filename = QStringLiteral("listed.ipsw");
        const auto log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QCOMPARE(fileContents(other), QByteArray("Watch7,1's image"));
        QVERIFY(log->last->ok());
        const QFileInfo saved(log->last->value());
        QCOMPARE(saved.absolutePath(), QFileInfo(h.cache()).absoluteFilePath());
        QCOMPARE(fileContents(saved.filePath()), QByteArray("Watch6,1's body"));
        QCOMPARE(h.cacheListing().size(), 2);
    }
};

QTEST_GUILESS_MAIN(CacheNameSafetyTest)
#include "CacheNameSafetyTest.moc"
