#include "DownloadTestHarness.h"

#include "download/FileTransfer.h"
#include "download/FreeSpace.h"
#include "download/ResumeRecord.h"
#include "support/TestFiles.h"

#include <QNetworkReply>
#include <QProcess>
#include <QStandardPaths>

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

    void continuesAfterTheProcessWasKilled()
    {
        DownloadTestHarness h(LocalHttpServer::Transport::tls);
        const QByteArray body = patternBody(5 * mebibyte);
        const QString path = QStringLiteral("/fw/Watch4,2_Restore.ipsw");
        h.server.setResponse(path, cutOff(body, 2 * mebibyte, true));
        const WatchFirmware firmware = h.firmware(path, sha256Hex(body));

        QProcess child;
        child.start(QStringLiteral(DOWNLOAD_CHILD),
                    {h.paths.applicationSupport(), h.paths.downloads(), firmware.downloadURL.toString()});
        QVERIFY(child.waitForStarted());
        // The record follows the data within a second or two.
        QVERIFY(QTest::qWaitFor([&] { return heldBytes(firmware.downloadURL) == 2 * mebibyte; }, 30000));
        child.kill();
        QVERIFY(child.waitForFinished());

        h.server.setResponse(path, rangedResponse(body, firstTag));
        const qsizetype requestsBefore = h.server.requests().size();
        const auto log = h.start(firmware);
        QVERIFY(waitForCalls(*log));
        QVERIFY(log->last->ok());
        QCOMPARE(rangeStart(h.server.requests().at(requestsBefore)), 2 * mebibyte);
        QCOMPARE(fileContents(log->last->value()), body);
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
        QCOMPARE(partialListing().size(), kept ? 2 : 0);
    }
};

QTEST_GUILESS_MAIN(DownloadResumeTest)
#include "DownloadResumeTest.moc"
