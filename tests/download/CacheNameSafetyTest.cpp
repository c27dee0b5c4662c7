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
        row("escaped space stays escaped", base + "a%20b.ipsw", "a%20b.ipsw", true);
        row("escaped letter is the letter", base + "%57atch%7e.ipsw", "Watch~.ipsw", true);
        row("colon inside", base + "a:b.ipsw", "a:b.ipsw", true);
        row("escaped slash is no separator", base + "a%2f..%2F..%2Fb", "a%2F..%2F..%2Fb", true);
        row("escaped NUL is data", base + "Watch7,1_11.0_Restore.ipsw%00.ipsw",
            "Watch7,1_11.0_Restore.ipsw%00.ipsw", true);
        // ".invalid" still fits into the 255 bytes of a file name.
        row("247 bytes", base + QString(247, u'x'), QString(247, u'x'), true);
        row("248 bytes", base + QString(248, u'x'), QString(248, u'x'), false);
        row("255 bytes", base + QString(255, u'x'), QString(255, u'x'), false);
        row("Cyrillic stays escaped: 6 bytes a letter", base + QString(42, u'ж'),
            QStringLiteral("%D0%B6").repeated(42), false);
        row("trailing slash", base + "Watch6,1_Restore.ipsw/", "", false);
        row("Qt resource path", base + ":probe.ipsw", ":probe.ipsw", false);
        row("parent folder", base + "..", "..", false);
        row("same folder", base + ".", ".", false);
        row("bare host", host, "", false);
        row("query only", host + "?x=1", "", false);
        row("root only", host + '/', "", false);
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
        QCOMPARE(log->last->failure().description(), noPlainName);
        QCOMPARE(h.manager.errorText(), std::optional<QString>(noPlainName));
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
    // transfer; the cached image of the name it would have had is untouched.
    void transferOfAnUnsafeLinkSavesUnderAGeneratedName()
    {
        DownloadTestHarness h;
        const QString path = QStringLiteral("/fw/Watch7,1_11.0_Restore.ipsw/");
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

    // Another model's image sits in the cache under the name a careless reading of this link
    // would give. It is never this firmware's image: the download fetches this link's own,
    // or says why it cannot be kept beside the other.
    void differentLinksNeverShareAnImage_data()
    {
        QTest::addColumn<QString>("cachedName");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("refusal"); // empty: downloaded under its own name
        const auto row = [](const char *tag, const QString &cached, const QString &path,
                            const QString &outcome) { QTest::newRow(tag) << cached << path << outcome; };
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
        QFETCH(QString, cachedName);
        QFETCH(QString, path);
        QFETCH(QString, refusal);
        DownloadTestHarness h;
        h.server.setResponse(path, HttpResponse::ok("this model's image"));
        QVERIFY(writeFile(h.cached(cachedName), "another model's image"));
        WatchFirmware firmware = h.firmware(path);
        firmware.filename = CacheFileName::fromURL(firmware.downloadURL);
        QVERIFY(firmware.filename != cachedName);

        QCOMPARE(h.manager.existingFile(firmware), std::nullopt);
        const auto log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QCOMPARE(fileContents(h.cached(cachedName)), QByteArray("another model's image"));
        if (refusal.isEmpty()) {
            QVERIFY2(log->last->ok(), qPrintable(h.manager.errorText().value_or(QString())));
            QCOMPARE(log->last->value(), h.cached(firmware.filename));
            QCOMPARE(fileContents(log->last->value()), QByteArray("this model's image"));
            QCOMPARE(h.manager.existingFile(firmware), std::optional<QString>(log->last->value()));
        } else {
            QVERIFY(!log->last->ok());
            QCOMPARE(log->last->failure().description(), refusal);
            QCOMPARE(h.manager.statusText(), QStringLiteral("Ошибка сохранения"));
            QCOMPARE(h.cacheListing(), QStringList{cachedName});
        }
    }

    // Symbolic links planted in the application's folders are never followed: what they point
    // at is neither read as an image nor written.
    void plantedSymbolicLinksAreNotFollowed_data()
    {
        QTest::addColumn<QString>("where");
        QTest::addColumn<QString>("refusal"); // empty: the download succeeds
        QTest::newRow("partial data") << "data" << QString();
        QTest::newRow("resume record") << "record" << QString();
        QTest::newRow("image's name")
            << "image"
            << QStringLiteral("«l_Restore.ipsw» в папке прошивок — символическая ссылка, а не файл образа. "
                              "Приложение не открывает файлы по ссылкам: удалите ссылку или положите на её "
                              "место сам файл.");
        QTest::newRow("rejected image's name")
            << "invalid" << QStringLiteral("Контрольная сумма SHA-256 не совпадает.");
    }
    void plantedSymbolicLinksAreNotFollowed()
    {
        QFETCH(QString, where);
        QFETCH(QString, refusal);
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
        const auto log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QCOMPARE(fileContents(outside), QByteArray("not the application's"));
        QCOMPARE(log->last->ok(), refusal.isEmpty());
        if (refusal.isEmpty()) {
            QCOMPARE(fileContents(log->last->value()), body);
            QVERIFY(partialListing().isEmpty());
        } else {
            QCOMPARE(log->last->failure().description(), refusal);
        }
        if (where == u"image")
            QVERIFY(h.server.requests().isEmpty());
    }
};

QTEST_GUILESS_MAIN(CacheNameSafetyTest)
#include "CacheNameSafetyTest.moc"
