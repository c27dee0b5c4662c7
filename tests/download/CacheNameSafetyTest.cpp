#include "DownloadTestHarness.h"

#include "app/records/CacheFileName.h"
#include "support/TestFiles.h"

#include <QDirIterator>
#include <QStandardPaths>

namespace {

const QString noPlainName =
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

struct LinkName {
    QString link;
    QString name;
    bool plain;
};

// Another model's image in the cache, and this firmware's link; an empty refusal: downloaded
// under its own name.
struct Neighbour {
    QString cachedName;
    QString path;
    QString refusal;
};

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
        QTest::addColumn<LinkName>("row");
        const auto row = [](const char *tag, const QString &link, const QString &name, bool plain) {
            QTest::newRow(tag) << LinkName{link, name, plain};
        };
        const QString host = QStringLiteral("https://updates.cdn-apple.com");
        const QString base = host + QStringLiteral("/a/");
        row("ordinary", base + "Watch6,1_Restore.ipsw", "Watch6,1_Restore.ipsw", true);
        row("escaped space stays escaped", base + "a%20b.ipsw", "a%20b.ipsw", true);
        row("escaped letter is the letter", base + "%57atch%7e.ipsw", "Watch~.ipsw", true);
        row("colon inside", base + "a:b.ipsw", "a:b.ipsw", true);
        row("escaped slash is no separator", base + "a%2f..%2F..%2Fb", "a%2F..%2F..%2Fb", true);
        row("escaped NUL is data", base + "Watch7,1_11.0_Restore.ipsw%00.ipsw",
            "Watch7,1_11.0_Restore.ipsw%00.ipsw", true);
        // ".invalid" still fits into the 255 bytes of a file name.
        row("247 bytes", base + QString(247, u'x'), QString(247, u'x'), true);
        row("248 bytes", base + QString(248, u'x'), QString(248, u'x'), false);
        row("Cyrillic stays escaped: 6 bytes a letter", base + QString(42, u'ж'),
            QStringLiteral("%D0%B6").repeated(42), false);
        row("trailing slash", base + "Watch6,1_Restore.ipsw/", "", false);
        row("Qt resource path", base + ":probe.ipsw", ":probe.ipsw", false);
        row("parent folder", base + "..", "..", false);
        row("bare host", host, "", false);
    }
    void plainNamesOnly()
    {
        QFETCH(LinkName, row);
        QCOMPARE(CacheFileName::fromURL(QUrl(row.link, QUrl::StrictMode)), row.name);
        QCOMPARE(CacheFileName::isPlain(row.name), row.plain);
        if (row.plain)
            return;

        DownloadTestHarness h;
        h.server.setResponse(QStringLiteral("/fw/image.ipsw"), HttpResponse::ok("Watch6,1's body"));
        const QString otherImage = h.cached(QStringLiteral("Watch7,1_11.0_Restore.ipsw"));
        QVERIFY(writeFile(otherImage, "Watch7,1's image"));
        const QString workingFolder = QDir::currentPath();
        const QStringList workingBefore = treeOf(workingFolder);
        const QStringList downloadsBefore = treeOf(h.paths.downloads());

        WatchFirmware firmware = h.firmware(QStringLiteral("/fw/image.ipsw"));
        firmware.filename = row.name;
        QCOMPARE(h.manager.existingFile(firmware), std::nullopt);
        const auto log = h.start(firmware);
        QVERIFY(!h.manager.isDownloading());
        QVERIFY(waitForCalls(*log));
        QCOMPARE(h.shown(*log->last), h.failed(QStringLiteral("Ошибка сохранения"), noPlainName));
        QCOMPARE(h.manager.downloadedURL(), std::nullopt);
        QVERIFY(log->alwaysOnGuiThread);

        QTest::qWait(100);
        QVERIFY(h.server.requests().isEmpty());
        QCOMPARE(fileContents(otherImage), QByteArray("Watch7,1's image"));
        QCOMPARE(treeOf(h.paths.downloads()), downloadsBefore);
        QCOMPARE(treeOf(workingFolder), workingBefore);
    }

    // Another model's image sits in the cache under the name a careless reading of this link
    // would give. It is never this firmware's image: the download fetches this link's own,
    // or says why it cannot be kept beside the other.
    void differentLinksNeverShareAnImage_data()
    {
        QTest::addColumn<Neighbour>("row");
        const auto row = [](const char *tag, const QString &cached, const QString &path,
                            const QString &refusal) {
            QTest::newRow(tag) << Neighbour{cached, path, refusal};
        };
        row("escaped slash", "Watch7,1_Restore.ipsw", "/fw/x%2FWatch7,1_Restore.ipsw", {});
        row("other invalid UTF-8 byte", "%FE.ipsw", "/fw/%FF.ipsw", {});
        row("escaped percent", "a%2F.ipsw", "/fw/a%252F.ipsw", {});
        // One file on macOS's file system, which ignores the form of accented letters.
        row("other Unicode normalisation", "%C3%A9.ipsw", "/fw/e%CC%81.ipsw", {});
        // One file on macOS's file system, which ignores letter case by default.
        row("other letter case", "watch7,1_restore.ipsw", "/fw/Watch7,1_Restore.ipsw",
            QStringLiteral("В папке прошивок уже есть «watch7,1_restore.ipsw», имя которого отличается от "
                           "«Watch7,1_Restore.ipsw» только регистром букв. Образ не сохраняется, чтобы не "
                           "заменить этот файл."));
    }
    void differentLinksNeverShareAnImage()
    {
        QFETCH(Neighbour, row);
        DownloadTestHarness h;
        h.server.setResponse(row.path, HttpResponse::ok("this model's image"));
        QVERIFY(writeFile(h.cached(row.cachedName), "another model's image"));
        WatchFirmware firmware = h.firmware(row.path);
        firmware.filename = CacheFileName::fromURL(firmware.downloadURL);
        QVERIFY(firmware.filename != row.cachedName);

        QCOMPARE(h.manager.existingFile(firmware), std::nullopt);
        const Result<QString> result = h.download(firmware);
        QCOMPARE(fileContents(h.cached(row.cachedName)), QByteArray("another model's image"));
        if (row.refusal.isEmpty()) {
            QCOMPARE(h.shown(result), h.succeeded(firmware.filename));
            QCOMPARE(fileContents(result.value()), QByteArray("this model's image"));
            QCOMPARE(h.manager.existingFile(firmware), std::optional<QString>(result.value()));
        } else {
            QCOMPARE(h.shown(result), h.failed(QStringLiteral("Ошибка сохранения"), row.refusal));
            QCOMPARE(h.cacheListing(), QStringList{row.cachedName});
        }
    }

    // Symbolic links planted in the application's folders are never followed: what they point
    // at is neither read as an image nor written.
    void plantedSymbolicLinksAreNotFollowed_data()
    {
        QTest::addColumn<QStringList>("whereAndRefusal"); // no refusal: the download succeeds
        QTest::newRow("partial data") << QStringList{"data"};
        QTest::newRow("resume record") << QStringList{"record"};
        QTest::newRow("image's name") << QStringList{
            "image",
            QStringLiteral("«l_Restore.ipsw» в папке прошивок — символическая ссылка, а не файл образа. "
                           "Приложение не открывает файлы по ссылкам: удалите ссылку или положите на её "
                           "место сам файл.")};
        QTest::newRow("rejected image's name")
            << QStringList{"invalid", QStringLiteral("Контрольная сумма SHA-256 не совпадает.")};
    }
    void plantedSymbolicLinksAreNotFollowed()
    {
        QFETCH(QStringList, whereAndRefusal);
        const QString where = whereAndRefusal.first();
        const QString refusal = whereAndRefusal.value(1);
        DownloadTestHarness h;
        const QString path = QStringLiteral("/fw/l_Restore.ipsw");
        const QByteArray body = patternBody(1024 * 1024);
        h.server.setResponse(path, rangedResponse(body));
        const WatchFirmware firmware =
            h.firmware(path, where == u"invalid" ? sha256Hex("another image") : sha256Hex(body));
        const QString outside = QDir(h.paths.root()).filePath(QStringLiteral("outside"));
        QVERIFY(writeFile(outside, "not the application's"));
        const QString link = where == u"data"     ? PartialDownloads::dataPath(firmware.downloadURL)
                             : where == u"record" ? PartialDownloads::recordPath(firmware.downloadURL)
                             : where == u"image"  ? h.cached(firmware.filename)
                                                  : h.cached(firmware.filename + QStringLiteral(".invalid"));
        QVERIFY(QFile::link(outside, link));

        QCOMPARE(h.manager.existingFile(firmware), std::nullopt);
        const Result<QString> result = h.download(firmware);
        QCOMPARE(fileContents(outside), QByteArray("not the application's"));
        QCOMPARE(h.shown(result).constLast(), refusal.isEmpty() ? h.cached(firmware.filename) : refusal);
        if (refusal.isEmpty()) {
            QCOMPARE(fileContents(result.value()), body);
            QVERIFY(partialListing().isEmpty());
        }
        if (where == u"image")
            QVERIFY(h.server.requests().isEmpty());
    }
};

QTEST_GUILESS_MAIN(CacheNameSafetyTest)
#include "CacheNameSafetyTest.moc"
