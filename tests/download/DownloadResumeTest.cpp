#include "DownloadTestHarness.h"

#include "download/FileTransfer.h"
#include "download/FreeSpace.h"
#include "download/ResumeRecord.h"
#include "support/TestFiles.h"

#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

constexpr qint64 mebibyte = 1024 * 1024;
const QByteArray firstTag = "\"v1\"";
const QString transferError = QStringLiteral("Ошибка загрузки");
const QString timedOut = QStringLiteral("Превышен лимит времени на запрос.");

// The same, cut off after `bytes`: the connection stalls there, or drops.
HttpResponse cutOff(const QByteArray &body, qint64 bytes, bool stall, qint64 bytesPerSecond = 0)
{
    HttpResponse response = rangedResponse(body, firstTag, bytesPerSecond);
    (stall ? response.stallAfterBytes : response.dropAfterTotalBytes) = bytes;
    return response;
}

qint64 heldBytes(const QUrl &url)
{
    const std::optional<ResumeRecord> record = PartialDownloads::load(url);
    return record ? record->held() : 0;
}

// Lock files come and go with the transfers; only data and records are of interest.
QStringList partialData()
{
    return partialListing().filter(QRegularExpression(QStringLiteral("\\.(partial|resume)$")));
}

// Serves the whole body again and checks the next download continues from `from` and ends
// with exactly that body.
void finishesFrom(DownloadTestHarness &h, const QString &path, const WatchFirmware &firmware,
                  const QByteArray &body, qint64 from)
{
    h.server.setResponse(path, rangedResponse(body, firstTag));
    const qsizetype requestsBefore = h.server.requests().size();
    const auto log = h.start(firmware);
    QVERIFY(waitForCalls(*log));
    QVERIFY2(log->last->ok(), qPrintable(h.manager.errorText().value_or(QString())));
    QCOMPARE(rangeStart(h.server.requests().at(requestsBefore)), from);
    QCOMPARE(fileContents(log->last->value()), body);
    QVERIFY(partialListing().isEmpty());
}

} // namespace

class DownloadResumeTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void cleanup()
    {
        FileTransfer::Testing::setStallTimeout(std::chrono::seconds(60));
        FreeSpace::Testing::setAvailable(std::nullopt);
    }

    void continuesWhereTheTransferStopped_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<qint64>("perConnectionRate");
        QTest::addColumn<bool>("stall");
        QTest::addColumn<qint64>("interruptAt");
        QTest::addColumn<int>("minimumConnections");
        QTest::newRow("dropped connection") << 3 * mebibyte << qint64(0) << false << mebibyte + 5 << 1;
        QTest::newRow("dropped while several connections run on ranges")
            << 24 * mebibyte << 6 * mebibyte << false << 24 * mebibyte * 6 / 10 << 2;
        QTest::newRow("stalled connection timed out")
            << 3 * mebibyte << qint64(0) << true << mebibyte + 5 << 1;
    }
    void continuesWhereTheTransferStopped()
    {
        QFETCH(qint64, size);
        QFETCH(qint64, perConnectionRate);
        QFETCH(bool, stall);
        QFETCH(qint64, interruptAt);
        QFETCH(int, minimumConnections);
        DownloadTestHarness h(LocalHttpServer::Transport::tls);
        const QByteArray body = patternBody(size);
        const QString path = QStringLiteral("/fw/Watch6,1_Restore.ipsw");
        if (stall)
            FileTransfer::Testing::setStallTimeout(std::chrono::milliseconds(300));
        h.server.setResponse(path, cutOff(body, interruptAt, stall, perConnectionRate));
        WatchFirmware firmware = h.firmware(path, sha256Hex(body));
        firmware.size = size;
        // A crash leaves a hidden partial file behind; a broken transfer must not add another.
        QVERIFY(QFile(h.cached(QStringLiteral(".corvalin-from-a-crash.part"))).open(QIODevice::WriteOnly));

        auto log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QVERIFY(!log->last->ok());
        QCOMPARE(log->last->failure().domain(), Failure::Domain::network);
        if (stall) {
            QCOMPARE(log->last->failure().description(), timedOut);
            QCOMPARE(log->last->failure().code(), int(QNetworkReply::TimeoutError));
        }
        QCOMPARE(h.manager.statusText(), transferError);
        QCOMPARE(h.manager.errorText(), std::optional<QString>(log->last->failure().description()));
        QVERIFY(h.server.requests().size() >= minimumConnections);
        QVERIFY(h.cacheListing().isEmpty()); // nothing under the image's name, nothing beside it
        QCOMPARE(FakeTools::runCount(h.paths.shasum()), 0);
        const qint64 held = heldBytes(firmware.downloadURL);
        QVERIFY2(held > 0, qPrintable(log->last->failure().description()));
        QVERIFY(held <= interruptAt);

        h.server.setResponse(path, rangedResponse(body, firstTag, perConnectionRate));
        const qsizetype requestsBefore = h.server.requests().size();
        const qint64 sentBefore = h.server.bodyBytesSent();
        const qsizetype statusesBefore = h.statuses.size();
        log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QVERIFY2(log->last->ok(), qPrintable(h.manager.errorText().value_or(QString())));
        QCOMPARE(fileContents(h.cached(QStringLiteral("Watch6,1_Restore.ipsw"))), body);
        QVERIFY(partialListing().isEmpty());

        const HttpRequest &resumed = h.server.requests().at(requestsBefore);
        QVERIFY(rangeStart(resumed) > 0);
        QCOMPARE(resumed.header("if-range"), firstTag);
        // Only what was missing travels again, give or take what a connection had in flight.
        const qint64 sentAgain = h.server.bodyBytesSent() - sentBefore;
        QVERIFY2(sentAgain >= size - held && sentAgain <= size - held + 4 * mebibyte,
                 qPrintable(QStringLiteral("%1 sent again, %2 held").arg(sentAgain).arg(held)));
        // Progress counts the held bytes from the start.
        const QStringList shown = h.statuses.mid(statusesBefore).filter(QStringLiteral("Загружено "));
        QVERIFY(!shown.isEmpty() && shown.first().mid(10).chopped(1).toInt() >= int(held * 100 / size));
    }

    // Held bytes that may not belong to the file served now are dropped, never mixed in.
    void startsAgainFromZeroWhenTheHeldBytesCannotBeTrusted_data()
    {
        QTest::addColumn<bool>("acceptsRanges");
        QTest::addColumn<QByteArray>("etag"); // another tag than the first serves other bytes
        QTest::addColumn<qint64>("catalogueSizeChange");
        QTest::newRow("server ignores ranges now") << false << firstTag << qint64(0);
        QTest::newRow("ETag changed between attempts") << true << QByteArray("\"v2\"") << qint64(0);
        QTest::newRow("catalogue size disagrees with the record") << true << firstTag << qint64(1);
    }
    void startsAgainFromZeroWhenTheHeldBytesCannotBeTrusted()
    {
        QFETCH(bool, acceptsRanges);
        QFETCH(QByteArray, etag);
        QFETCH(qint64, catalogueSizeChange);
        DownloadTestHarness h(LocalHttpServer::Transport::tls);
        const QByteArray body = patternBody(3 * mebibyte);
        const QString path = QStringLiteral("/fw/Watch7,1_Restore.ipsw");
        h.server.setResponse(path, cutOff(body, mebibyte, false));
        WatchFirmware firmware = h.firmware(path);
        firmware.size = body.size();
        auto log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QVERIFY(heldBytes(firmware.downloadURL) > 0);

        QByteArray second = body;
        if (etag != firstTag)
            std::reverse(second.begin(), second.end());
        second.append(catalogueSizeChange, '!'); // the catalogue describes the new file
        HttpResponse response = rangedResponse(second, etag);
        response.acceptRanges = acceptsRanges;
        h.server.setResponse(path, response);
        firmware.sha256 = sha256Hex(second);
        firmware.size += catalogueSizeChange;
        const qint64 sentBefore = h.server.bodyBytesSent();
        log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QVERIFY2(log->last->ok(), qPrintable(h.manager.errorText().value_or(QString())));
        QCOMPARE(fileContents(h.cached(QStringLiteral("Watch7,1_Restore.ipsw"))), second);
        QCOMPARE(h.server.bodyBytesSent() - sentBefore, qint64(second.size()));
    }

    void tooLittleSpaceFailsBeforeTheFirstByte()
    {
        DownloadTestHarness h(LocalHttpServer::Transport::tls);
        h.server.setResponse(QStringLiteral("/big_Restore.ipsw"), HttpResponse::ok("never sent"));
        FreeSpace::Testing::setAvailable(50'000'000);
        WatchFirmware firmware = h.firmware(QStringLiteral("/big_Restore.ipsw"));
        firmware.size = 2'000'000'000;

        const auto log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QVERIFY(!log->last->ok());
        QCOMPARE(log->last->failure().domain(), Failure::Domain::fileSystem);
        QCOMPARE(log->last->failure().description(),
                 QStringLiteral("Недостаточно места на диске: для загрузки нужно 2,1 ГБ, свободно 50 МБ."));
        QCOMPARE(h.statuses, (QStringList{QStringLiteral("Загрузка с CDN Apple…"), transferError}));
        QCOMPARE(h.manager.errorText(), std::optional<QString>(log->last->failure().description()));
        QVERIFY(!h.manager.isDownloading());
        QVERIFY(h.server.requests().isEmpty());
    }

    // Asked for bytes after those it holds, an error status, a web page or a body that ends
    // before the catalogue's size is a failed request, never a body: what is held stays (with
    // what the short body added), and the next attempt continues from there.
    void failedAnswerToAResumeKeepsWhatIsHeld_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<QString>("description");
        const QString status = QStringLiteral("Сервер ответил ошибкой %1 вместо файла образа.");
        const QString page = QStringLiteral("Сервер прислал веб-страницу вместо файла образа.");
        QTest::newRow("503 with a page") << 503 << QByteArray("text/html") << status.arg(503);
        QTest::newRow("416") << 416 << QByteArray("text/plain") << status.arg(416);
        QTest::newRow("200 with a page") << 200 << QByteArray("application/xhtml+xml") << page;
        QTest::newRow("body shorter than the catalogue says")
            << 206 << QByteArray()
            << QStringLiteral("Сервер передал %1 байт, а в каталоге указан размер %2 байт.")
                   .arg(2 * mebibyte)
                   .arg(3 * mebibyte);
    }
    void failedAnswerToAResumeKeepsWhatIsHeld()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, contentType);
        QFETCH(QString, description);
        DownloadTestHarness h;
        const QByteArray body = patternBody(3 * mebibyte);
        const QString path = QStringLiteral("/fw/Watch5,1_Restore.ipsw");
        WatchFirmware firmware = h.firmware(path, sha256Hex(body));
        firmware.size = body.size();
        h.server.setResponse(path, cutOff(body, mebibyte, false));
        auto log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        qint64 held = heldBytes(firmware.downloadURL);
        QVERIFY(held > 0);

        HttpResponse answer;
        if (status == 206) {
            answer = rangedResponse(body.first(2 * mebibyte), firstTag);
            answer.omitContentLength = true;
        } else {
            answer = HttpResponse::withStatus(status, "<html>Service Unavailable</html>");
            answer.headers = {{"Content-Type", contentType}};
        }
        h.server.setResponse(path, answer);
        const qsizetype requestsBefore = h.server.requests().size();
        log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QVERIFY(!log->last->ok());
        QCOMPARE(log->last->failure().description(), description);
        QCOMPARE(h.manager.errorText(), std::optional<QString>(description));
        QCOMPARE(h.manager.statusText(), transferError);
        QCOMPARE(rangeStart(h.server.requests().at(requestsBefore)), held);
        if (status == 206)
            held = 2 * mebibyte;
        QCOMPARE(heldBytes(firmware.downloadURL), held);
        QVERIFY(h.cacheListing().isEmpty());
        QCOMPARE(FakeTools::runCount(h.paths.shasum()), 0);

        finishesFrom(h, path, firmware, body, held);
    }

    // When the disk is full, the transfer fails with the file system's reason and what stays is
    // either data with a record that can continue it, or nothing; once there is space again the
    // next download continues or starts cleanly.
    void fullDiskLeavesDataOnlyWithARecord_data()
    {
        QTest::addColumn<int>("limit");
        QTest::addColumn<bool>("ranges");
        QTest::addColumn<bool>("resumable");
        // The record is longer than this, so it cannot be written either.
        QTest::newRow("record does not fit") << 300 << true << false;
        QTest::newRow("record fits") << 512 * 1024 << true << true;
        QTest::newRow("server without ranges") << 512 * 1024 << false << false;
    }
    void fullDiskLeavesDataOnlyWithARecord()
    {
        QFETCH(int, limit);
        QFETCH(bool, ranges);
        QFETCH(bool, resumable);
        DownloadTestHarness h;
        const QByteArray body = patternBody(2 * mebibyte);
        // A long link makes a record of several hundred bytes.
        const QString path = QStringLiteral("/fw/") + QString(300, u'w') + QStringLiteral("/x_Restore.ipsw");
        h.server.setResponse(path, ranges ? rangedResponse(body) : HttpResponse::ok(body));
        const WatchFirmware firmware = h.firmware(path, sha256Hex(body));
        for (int attempt = 0; attempt < 2; ++attempt) {
            const FileSizeLimit full{rlim_t(limit)};
            const auto log = h.start(firmware);
            QVERIFY(waitForCalls(*log));
            QCOMPARE(log->last->failure().domain(), Failure::Domain::fileSystem);
            if (limit > 300)
                QCOMPARE(log->last->failure().description(),
                         QStringLiteral("Не удалось записать загруженные данные на диск: файл слишком велик "
                                        "для этого диска."));
            QCOMPARE(h.manager.statusText(), transferError);
            QVERIFY(h.cacheListing().isEmpty());
            QVERIFY(QTest::qWaitFor([] { return !partialListing().join(u' ').contains(u".lock"); }, 5000));
            QCOMPARE(partialData().size(), resumable ? 2 : 0);
            QCOMPARE(PartialDownloads::load(firmware.downloadURL).has_value(), resumable);
        }

        const qint64 held = heldBytes(firmware.downloadURL);
        QCOMPARE(held > 0, resumable);
        finishesFrom(h, path, firmware, body, held);
    }

    // Another copy of the application, in its own process, downloads the same image into the
    // same folders: this one does not touch that data until the other has let go of it.
    void partialDataBelongsToOneProcessAtATime()
    {
        DownloadTestHarness h(LocalHttpServer::Transport::tls);
        const QByteArray body = patternBody(4 * mebibyte);
        const QString path = QStringLiteral("/fw/Watch3,1_Restore.ipsw");
        h.server.setResponse(path, cutOff(body, mebibyte, true));
        const WatchFirmware firmware = h.firmware(path, sha256Hex(body));
        QProcess child;
        child.start(QStringLiteral(DOWNLOAD_CHILD),
                    {h.paths.applicationSupport(), h.paths.downloads(), firmware.downloadURL.toString()});
        QVERIFY(child.waitForStarted());
        QVERIFY(QTest::qWaitFor([&] { return heldBytes(firmware.downloadURL) == mebibyte; }, 30000));

        const qsizetype requestsBefore = h.server.requests().size();
        const auto log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QVERIFY(!log->last->ok());
        QCOMPARE(
            log->last->failure().description(),
            QStringLiteral("Этот образ сейчас загружает другая копия Corvalin Studio. Повторите загрузку, "
                           "когда она закончится: уже полученные данные сохранятся."));
        QCOMPARE(h.manager.statusText(), transferError);
        // Nor does tidying up after a catalogue refresh take the other's data away.
        h.manager.keepPartialDownloadsOf({});
        QCOMPARE(h.server.requests().size(), requestsBefore);
        QCOMPARE(heldBytes(firmware.downloadURL), mebibyte);
        QCOMPARE(child.state(), QProcess::Running);

        // Killed, it leaves its lock behind naming a process that no longer exists, and its
        // record: the next download continues from the killed one's data.
        child.kill();
        QVERIFY(child.waitForFinished());
        finishesFrom(h, path, firmware, body, mebibyte);
    }

    // The firmware folder on another volume: the finished image is copied there under a
    // temporary name first. A copy that cannot be made says why, leaves nothing under the
    // image's name and keeps the finished data, so that the next start only copies again.
    void imageIsCopiedToAnotherVolumeOrKept()
    {
        QTemporaryDir otherVolume(QStringLiteral("/dev/shm/corvalin-test-XXXXXX"));
        if (!otherVolume.isValid())
            QSKIP("no second volume at /dev/shm");
        DownloadTestHarness h;
        h.paths.setDownloadsFolder(otherVolume.path());
        QVERIFY(!FreeSpace::sameVolume(PartialDownloads::folder(), h.cache()));
        const QByteArray body = patternBody(3 * mebibyte);
        const QString path = QStringLiteral("/fw/Watch2,3_Restore.ipsw");
        h.server.setResponse(path, rangedResponse(body));
        // Without the catalogue's size, only the copy itself can check the space.
        const WatchFirmware firmware = h.firmware(path, sha256Hex(body));

        FreeSpace::Testing::setAvailableIn(h.cache(), 50'000'000);
        auto log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QCOMPARE(
            log->last->failure().description(),
            QStringLiteral("Недостаточно места в папке прошивок: для образа нужно 103 МБ, свободно 50 МБ."));
        QCOMPARE(h.manager.statusText(), QStringLiteral("Ошибка сохранения"));
        QVERIFY(h.cacheListing().isEmpty());
        QCOMPARE(heldBytes(firmware.downloadURL), body.size());
        FreeSpace::Testing::setAvailable(std::nullopt);

        {
            const FileSizeLimit full(mebibyte);
            log = h.start(firmware);
            QVERIFY(waitForCalls(*log));
        }
        QCOMPARE(log->last->failure().description(),
                 QStringLiteral(
                     "Не удалось сохранить образ в папке прошивок: файл слишком велик для этого диска."));
        QVERIFY(h.cacheListing().isEmpty());
        QCOMPARE(heldBytes(firmware.downloadURL), body.size());

        log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QVERIFY2(log->last->ok(), qPrintable(h.manager.errorText().value_or(QString())));
        QCOMPARE(h.manager.statusText(), QStringLiteral("Загрузка и проверка завершены"));
        QCOMPARE(fileContents(log->last->value()), body);
        QCOMPARE(h.cacheListing(), QStringList{QStringLiteral("Watch2,3_Restore.ipsw")});
        QCOMPARE(h.server.requests().size(), 1);
        QVERIFY(partialListing().isEmpty());
    }

    void partialDataOfFirmwareNoLongerOfferedOrOlderThanAWeekIsRemoved_data()
    {
        QTest::addColumn<bool>("inCatalogue");
        QTest::addColumn<int>("ageDays");
        QTest::addColumn<bool>("running");
        QTest::addColumn<bool>("kept");
        QTest::newRow("offered, recent") << true << 1 << false << true;
        QTest::newRow("no longer offered") << false << 1 << false << false;
        QTest::newRow("offered, older than a week") << true << 8 << false << false;
        QTest::newRow("no longer offered but running") << false << 8 << true << true;
    }
    void partialDataOfFirmwareNoLongerOfferedOrOlderThanAWeekIsRemoved()
    {
        QFETCH(bool, inCatalogue);
        QFETCH(int, ageDays);
        QFETCH(bool, running);
        QFETCH(bool, kept);
        TestPaths paths;
        const QUrl url(QStringLiteral("https://updates.cdn-apple.com/a/Watch6,1_Restore.ipsw"));
        QVERIFY(writeFile(PartialDownloads::dataPath(url), "held"));
        QVERIFY(PartialDownloads::save(ResumeRecord{url, 10, firstTag, {}, {Segment{0, 4, 10, false}}}));
        QFile record(PartialDownloads::recordPath(url));
        QVERIFY(record.open(QIODevice::ReadWrite));
        QVERIFY(record.setFileTime(QDateTime::currentDateTimeUtc().addDays(-ageDays),
                                   QFileDevice::FileModificationTime));
        record.close();

        WatchFirmware offered;
        offered.downloadURL =
            inCatalogue ? url : QUrl(QStringLiteral("https://updates.cdn-apple.com/b/other.ipsw"));
        PartialDownloads::removeStale(QList<QUrl>{offered.downloadURL},
                                      running ? QList<QUrl>{url} : QList<QUrl>{});
        QCOMPARE(PartialDownloads::load(url).has_value(), kept);
        QCOMPARE(partialData().size(), kept ? 2 : 0);
    }
};

QTEST_GUILESS_MAIN(DownloadResumeTest)
#include "DownloadResumeTest.moc"
