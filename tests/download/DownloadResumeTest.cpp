#include "DownloadTestHarness.h"

#include "download/FileTransfer.h"
#include "download/FreeSpace.h"
#include "download/ResumeRecord.h"
#include "support/TestFiles.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

constexpr qint64 mebibyte = 1024 * 1024;
const QByteArray firstTag = "\"v1\"";
const QString transferError = QStringLiteral("Ошибка загрузки");

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
    const Result<QString> result = h.download(firmware);
    QCOMPARE(h.shown(result), h.succeeded(firmware.filename));
    QCOMPARE(rangeStart(h.server.requests().at(requestsBefore)), from);
    QCOMPARE(fileContents(result.value()), body);
    QVERIFY(partialListing().isEmpty());
}

struct Interruption {
    qint64 size;
    qint64 perConnectionRate;
    bool stall;
    qint64 at;
    int minimumConnections;
};

// What the server answers the attempt after an interruption at 1 MiB, and what the catalogue
// then describes. Without a refusal the download succeeds; with one, what is held stays.
struct SecondAnswer {
    HttpResponse answer;
    QByteArray image;
    QString refusal;
    qint64 heldAfter = 0; // 0: what was held before
};

struct FullDisk {
    int limit;
    bool ranges;
    bool resumable;
};

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
        QTest::addColumn<Interruption>("cut");
        QTest::newRow("dropped connection") << Interruption{3 * mebibyte, 0, false, mebibyte + 5, 1};
        QTest::newRow("dropped while several connections run on ranges")
            << Interruption{24 * mebibyte, 6 * mebibyte, false, 24 * mebibyte * 6 / 10, 2};
        QTest::newRow("stalled connection timed out") << Interruption{3 * mebibyte, 0, true, mebibyte + 5, 1};
    }
    void continuesWhereTheTransferStopped()
    {
        QFETCH(Interruption, cut);
        DownloadTestHarness h(LocalHttpServer::Transport::tls);
        const QByteArray body = patternBody(cut.size);
        const QString path = QStringLiteral("/fw/Watch6,1_Restore.ipsw");
        if (cut.stall)
            FileTransfer::Testing::setStallTimeout(std::chrono::milliseconds(300));
        h.server.setResponse(path, cutOff(body, cut.at, cut.stall, cut.perConnectionRate));
        WatchFirmware firmware = h.firmware(path, sha256Hex(body));
        firmware.size = cut.size;

        Result<QString> result = h.download(firmware);
        QVERIFY(!result.ok());
        const QString reason =
            cut.stall ? QStringLiteral("Превышен лимит времени на запрос.") : result.failure().description();
        QCOMPARE(h.shown(result), h.failed(transferError, reason));
        QVERIFY(h.server.requests().size() >= cut.minimumConnections);
        QVERIFY(h.cacheListing().isEmpty()); // nothing under the image's name, nothing beside it
        QCOMPARE(FakeTools::runCount(h.paths.shasum()), 0);
        const qint64 held = heldBytes(firmware.downloadURL);
        QVERIFY(held > 0 && held <= cut.at);

        h.server.setResponse(path, rangedResponse(body, firstTag, cut.perConnectionRate));
        const qsizetype requestsBefore = h.server.requests().size();
        const qint64 sentBefore = h.server.bodyBytesSent();
        const qsizetype statusesBefore = h.statuses.size();
        result = h.download(firmware);
        QCOMPARE(h.shown(result), h.succeeded(firmware.filename));
        QCOMPARE(fileContents(result.value()), body);
        QVERIFY(partialListing().isEmpty());

        const HttpRequest &resumed = h.server.requests().at(requestsBefore);
        QVERIFY(rangeStart(resumed) > 0);
        QCOMPARE(resumed.header("if-range"), firstTag);
        // Only what was missing travels again, give or take what a connection had in flight.
        const qint64 sentAgain = h.server.bodyBytesSent() - sentBefore;
        QVERIFY2(sentAgain >= cut.size - held && sentAgain <= cut.size - held + 4 * mebibyte,
                 qPrintable(QStringLiteral("%1 sent again, %2 held").arg(sentAgain).arg(held)));
        // Progress counts the held bytes from the start.
        const QStringList shown = h.statuses.mid(statusesBefore).filter(QStringLiteral("Загружено "));
        QVERIFY(!shown.isEmpty() && shown.first().mid(10).chopped(1).toInt() >= int(held * 100 / cut.size));
    }

    // Held bytes that may not belong to the file served now are dropped, never mixed in. Asked
    // for bytes after those held, an error status, a web page or a body that ends before the
    // catalogue's size is a failed request, never a body: what is held stays (with what the short
    // body added), and the next attempt continues from there.
    void secondAnswerAfterAnInterruption_data()
    {
        QTest::addColumn<SecondAnswer>("second");
        const QByteArray body = patternBody(3 * mebibyte);
        HttpResponse ignoresRanges = rangedResponse(body);
        ignoresRanges.acceptRanges = false;
        QTest::newRow("server ignores ranges now") << SecondAnswer{ignoresRanges, body, {}};
        QByteArray reversed = body;
        std::reverse(reversed.begin(), reversed.end());
        QTest::newRow("ETag changed between attempts")
            << SecondAnswer{rangedResponse(reversed, "\"v2\""), reversed, {}};
        QTest::newRow("catalogue size disagrees with the record")
            << SecondAnswer{rangedResponse(body + '!'), body + '!', {}};

        const auto page = [](int status, const QByteArray &type) {
            HttpResponse response = HttpResponse::withStatus(status, "<html>Service Unavailable</html>");
            response.headers = {{"Content-Type", type}};
            return response;
        };
        const QString status = QStringLiteral("Сервер ответил ошибкой %1 вместо файла образа.");
        QTest::newRow("503 with a page") << SecondAnswer{page(503, "text/html"), body, status.arg(503)};
        QTest::newRow("416") << SecondAnswer{page(416, "text/plain"), body, status.arg(416)};
        QTest::newRow("200 with a page")
            << SecondAnswer{page(200, "application/xhtml+xml"), body,
                            QStringLiteral("Сервер прислал веб-страницу вместо файла образа.")};
        HttpResponse shortBody = rangedResponse(body.first(2 * mebibyte));
        shortBody.omitContentLength = true;
        QTest::newRow("body shorter than the catalogue says")
            << SecondAnswer{shortBody, body,
                            QStringLiteral("Сервер передал %1 байт, а в каталоге указан размер %2 байт.")
                                .arg(2 * mebibyte)
                                .arg(3 * mebibyte),
                            2 * mebibyte};
    }
    void secondAnswerAfterAnInterruption()
    {
        QFETCH(SecondAnswer, second);
        DownloadTestHarness h(LocalHttpServer::Transport::tls);
        const QByteArray body = patternBody(3 * mebibyte);
        const QString path = QStringLiteral("/fw/Watch5,1_Restore.ipsw");
        WatchFirmware firmware = h.firmware(path, sha256Hex(body));
        firmware.size = body.size();
        h.server.setResponse(path, cutOff(body, mebibyte, false));
        QVERIFY(!h.download(firmware).ok());
        const qint64 held = heldBytes(firmware.downloadURL);
        QVERIFY(held > 0);

        h.server.setResponse(path, second.answer);
        firmware.sha256 = sha256Hex(second.image); // the catalogue describes the file served now
        firmware.size = second.image.size();
        const qsizetype requestsBefore = h.server.requests().size();
        const qint64 sentBefore = h.server.bodyBytesSent();
        const Result<QString> result = h.download(firmware);
        if (second.refusal.isEmpty()) {
            QCOMPARE(h.shown(result), h.succeeded(firmware.filename));
            QCOMPARE(fileContents(result.value()), second.image);
            QCOMPARE(h.server.bodyBytesSent() - sentBefore, qint64(second.image.size()));
            return;
        }
        QCOMPARE(h.shown(result), h.failed(transferError, second.refusal));
        QCOMPARE(rangeStart(h.server.requests().at(requestsBefore)), held);
        const qint64 kept = second.heldAfter ? second.heldAfter : held;
        QCOMPARE(heldBytes(firmware.downloadURL), kept);
        QVERIFY(h.cacheListing().isEmpty());
        QCOMPARE(FakeTools::runCount(h.paths.shasum()), 0);
        finishesFrom(h, path, firmware, body, kept);
    }

    // When the disk is full, the transfer fails with the file system's reason and what stays is
    // either data with a record that can continue it, or nothing; once there is space again the
    // next download continues or starts cleanly.
    void fullDiskLeavesDataOnlyWithARecord_data()
    {
        QTest::addColumn<FullDisk>("disk");
        // The record is longer than this, so it cannot be written either.
        QTest::newRow("record does not fit") << FullDisk{300, true, false};
        QTest::newRow("record fits") << FullDisk{512 * 1024, true, true};
        QTest::newRow("server without ranges") << FullDisk{512 * 1024, false, false};
    }
    void fullDiskLeavesDataOnlyWithARecord()
    {
        QFETCH(FullDisk, disk);
        DownloadTestHarness h;
        const QByteArray body = patternBody(2 * mebibyte);
        // A long link makes a record of several hundred bytes.
        const QString path = QStringLiteral("/fw/") + QString(300, u'w') + QStringLiteral("/x_Restore.ipsw");
        h.server.setResponse(path, disk.ranges ? rangedResponse(body) : HttpResponse::ok(body));
        const WatchFirmware firmware = h.firmware(path, sha256Hex(body));
        for (int attempt = 0; attempt < 2; ++attempt) {
            const FileSizeLimit full{rlim_t(disk.limit)};
            const Result<QString> result = h.download(firmware);
            QCOMPARE(h.shown(result),
                     h.failed(transferError, QStringLiteral("Не удалось записать загруженные данные на диск: "
                                                            "файл слишком велик для этого диска.")));
            QVERIFY(h.cacheListing().isEmpty());
            QVERIFY(QTest::qWaitFor([] { return !partialListing().join(u' ').contains(u".lock"); }, 5000));
            QCOMPARE(partialData().size(), disk.resumable ? 2 : 0);
            QCOMPARE(PartialDownloads::load(firmware.downloadURL).has_value(), disk.resumable);
        }

        const qint64 held = heldBytes(firmware.downloadURL);
        QCOMPARE(held > 0, disk.resumable);
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
        QCOMPARE(
            h.shown(h.download(firmware)),
            h.failed(transferError,
                     QStringLiteral("Этот образ сейчас загружает другая копия Corvalin Studio. Повторите "
                                    "загрузку, когда она закончится: уже полученные данные сохранятся.")));
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

    // Too little space for the download fails before its first byte. With the firmware folder on
    // another volume, the finished image is copied there under a temporary name first. A copy
    // that cannot be made says why, leaves nothing under the image's name and keeps the finished
    // data, so that the next start only copies again.
    void tooLittleSpaceLosesNothing()
    {
        DownloadTestHarness h;
        FreeSpace::Testing::setAvailable(50'000'000);
        WatchFirmware big = h.firmware(QStringLiteral("/big_Restore.ipsw"));
        big.size = 2'000'000'000;
        QCOMPARE(h.shown(h.download(big)),
                 h.failed(transferError, QStringLiteral("Недостаточно места на диске: для загрузки нужно 2,1 "
                                                        "ГБ, свободно 50 МБ.")));
        QCOMPARE(h.statuses, (QStringList{QStringLiteral("Загрузка с CDN Apple…"), transferError}));
        QVERIFY(!h.manager.isDownloading());
        QVERIFY(h.server.requests().isEmpty());
        FreeSpace::Testing::setAvailable(std::nullopt);

        QTemporaryDir otherVolume(QStringLiteral("/dev/shm/corvalin-test-XXXXXX"));
        if (!otherVolume.isValid())
            QSKIP("no second volume at /dev/shm");
        h.paths.setDownloadsFolder(otherVolume.path());
        QVERIFY(!FreeSpace::sameVolume(PartialDownloads::folder(), h.cache()));
        const QByteArray body = patternBody(3 * mebibyte);
        const QString path = QStringLiteral("/fw/Watch2,3_Restore.ipsw");
        h.server.setResponse(path, rangedResponse(body));
        // Without the catalogue's size, only the copy itself can check the space.
        const WatchFirmware firmware = h.firmware(path, sha256Hex(body));
        const QString saveError = QStringLiteral("Ошибка сохранения");

        FreeSpace::Testing::setAvailableIn(h.cache(), 50'000'000);
        QCOMPARE(h.shown(h.download(firmware)),
                 h.failed(saveError, QStringLiteral("Недостаточно места в папке прошивок: для образа нужно "
                                                    "103 МБ, свободно 50 МБ.")));
        QVERIFY(h.cacheListing().isEmpty());
        QCOMPARE(heldBytes(firmware.downloadURL), body.size());
        FreeSpace::Testing::setAvailable(std::nullopt);

        {
            const FileSizeLimit full(mebibyte);
            QCOMPARE(h.shown(h.download(firmware)),
                     h.failed(saveError, QStringLiteral("Не удалось сохранить образ в папке прошивок: файл "
                                                        "слишком велик для этого диска.")));
        }
        QVERIFY(h.cacheListing().isEmpty());
        QCOMPARE(heldBytes(firmware.downloadURL), body.size());

        const Result<QString> result = h.download(firmware);
        QCOMPARE(h.shown(result), h.succeeded(firmware.filename));
        QCOMPARE(fileContents(result.value()), body);
        QCOMPARE(h.cacheListing(), QStringList{firmware.filename});
        QCOMPARE(h.server.requests().size(), 1);
        QVERIFY(partialListing().isEmpty());
    }

    // Partial data of firmware no longer offered, or older than a week, is removed unless its
    // transfer is running.
    void staleHeldDataIsRemoved()
    {
        // Offered in the catalogue, age in days, transfer running, data kept.
        const int cases[][4] = {{1, 1, 0, 1}, {0, 1, 0, 0}, {1, 8, 0, 0}, {0, 8, 1, 1}};
        const QUrl url(QStringLiteral("https://updates.cdn-apple.com/a/Watch6,1_Restore.ipsw"));
        const QUrl other(QStringLiteral("https://updates.cdn-apple.com/b/other.ipsw"));
        for (const auto &[offered, ageDays, running, kept] : cases) {
            TestPaths paths;
            QVERIFY(writeFile(PartialDownloads::dataPath(url), "held"));
            QVERIFY(PartialDownloads::save(ResumeRecord{url, 10, firstTag, {}, {Segment{0, 4, 10, false}}}));
            QFile record(PartialDownloads::recordPath(url));
            QVERIFY(record.open(QIODevice::ReadWrite));
            QVERIFY(record.setFileTime(QDateTime::currentDateTimeUtc().addDays(-ageDays),
                                       QFileDevice::FileModificationTime));
            record.close();

            PartialDownloads::removeStale(QList{offered ? url : other}, running ? QList{url} : QList<QUrl>{});
            const QString row = QStringLiteral("%1 %2 %3: ").arg(offered).arg(ageDays).arg(running);
            QCOMPARE(row + QString::number(partialData().size()) +
                         (PartialDownloads::load(url) ? "+record" : ""),
                     row + (kept ? "2+record" : "0"));
        }
    }
};

QTEST_GUILESS_MAIN(DownloadResumeTest)
#include "DownloadResumeTest.moc"
