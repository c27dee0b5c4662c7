#include "DownloadTestHarness.h"
#include "support/TestFiles.h"

#include <QNetworkReply>
#include <QSignalSpy>
#include <QStandardPaths>

namespace {

struct Delivery {
    bool withLength;
    const char *digestCase; // "lower", "upper" or "none"
    bool redirected;        // the image keeps the name the catalogue's link gives
};

const QString done = QStringLiteral("Загрузка и проверка завершены");
const QString transferError = QStringLiteral("Ошибка загрузки");

} // namespace

class DownloadManagerTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void downloadsAndVerifies_data()
    {
        QTest::addColumn<Delivery>("delivery");
        QTest::newRow("length, lower-case digest") << Delivery{true, "lower", false};
        QTest::newRow("no length, lower-case digest") << Delivery{false, "lower", false};
        QTest::newRow("upper-case digest, redirected") << Delivery{true, "upper", true};
        QTest::newRow("no digest: accepted after the tool ran") << Delivery{true, "none", false};
    }
    void downloadsAndVerifies()
    {
        QFETCH(Delivery, delivery);
        DownloadTestHarness h;
        const QByteArray body = patternBody(3 * 1024 * 1024 + 17);
        HttpResponse response = HttpResponse::ok(body);
        response.omitContentLength = !delivery.withLength;
        const QString link = QStringLiteral("/fw/Watch6,1_Restore.ipsw");
        const QString served = delivery.redirected ? QStringLiteral("/cdn/blob-8f3a.bin") : link;
        h.server.setResponse(served, response);
        if (delivery.redirected)
            h.server.setResponse(link, HttpResponse::redirect(h.server.url(served).toString()));
        const QByteArray digestCase = delivery.digestCase;
        const QString digest = digestCase == "none"    ? QString()
                               : digestCase == "upper" ? sha256Hex(body).toUpper()
                                                       : sha256Hex(body);

        const auto log = h.start(h.firmware(link, digest));
        QVERIFY(h.manager.isDownloading());
        QVERIFY(waitForCalls(*log));

        const QString path = h.cached(QStringLiteral("Watch6,1_Restore.ipsw"));
        QCOMPARE(h.shown(*log->last), h.succeeded(QStringLiteral("Watch6,1_Restore.ipsw")));
        QVERIFY(log->alwaysOnGuiThread);
        QCOMPARE(fileContents(path), body);
        QCOMPARE(h.cacheListing(), QStringList{QStringLiteral("Watch6,1_Restore.ipsw")});
        QCOMPARE(FakeTools::recordedArguments(h.paths.shasum()), (QStringList{"-a", "256", path}));
        QCOMPARE(FakeTools::runCount(h.paths.shasum()), 1);

        QVERIFY(!h.manager.isDownloading());
        QCOMPARE(h.manager.progress(), 1.0);
        QCOMPARE(h.manager.downloadedURL(), std::optional<QString>(path));
        QCOMPARE(h.statuses.first(), QStringLiteral("Загрузка с CDN Apple…"));
        QCOMPARE(h.statuses.mid(h.statuses.size() - 2),
                 (QStringList{QStringLiteral("Проверка SHA-256…"), done}));
        // Percentages only with a known total.
        const QStringList percentages = h.statuses.filter(QStringLiteral("Загружено "));
        QCOMPARE(percentages.isEmpty(), !delivery.withLength);
        if (delivery.withLength)
            QCOMPARE(percentages.last(), QStringLiteral("Загружено 100%"));

        QTest::qWait(50);
        QCOMPARE(log->calls, 1);
    }

    // Whatever arrived is judged by its digest alone, an error page too (its status is not
    // examined); a rejected image is moved aside even under the longest name a link may give.
    void rejectedImageIsMovedAside()
    {
        const std::pair<QString, int> cases[] = {{QStringLiteral("a_Restore.ipsw"), 200},
                                                 {QString(234, u'x') + QStringLiteral("_Restore.ipsw"), 200},
                                                 {QStringLiteral("a_Restore.ipsw"), 500}};
        for (const auto &[name, status] : cases) {
            DownloadTestHarness h;
            h.server.setResponse(u'/' + name, HttpResponse::withStatus(status, "damaged image"));
            const WatchFirmware firmware = h.firmware(u'/' + name, sha256Hex("the real image"));

            const Result<QString> result = h.download(firmware);
            QCOMPARE(h.shown(result), h.failed(QStringLiteral("Ошибка проверки"),
                                               QStringLiteral("Контрольная сумма SHA-256 не совпадает.")));
            QCOMPARE(h.manager.downloadedURL(), std::nullopt);
            // The listing names the row.
            QCOMPARE(h.cacheListing(), QStringList{name + QStringLiteral(".invalid")});
            QCOMPARE(fileContents(h.cached(name + QStringLiteral(".invalid"))), QByteArray("damaged image"));
            QCOMPARE(h.manager.existingFile(firmware), std::nullopt);
        }
    }

    // Cancelling shows "cancelled" at once; the transfer's own report of the cancellation
    // then arrives as a transfer error and is what the caller receives.
    // Cancel means cancel: nothing is kept for a later attempt.
    // The late report of a cancelled transfer is not matched against the transfer that
    // replaced it: it takes the new caller's completion, and the new transfer ends silently.
    void cancelDuringTransferAndStartWhileBusy()
    {
        DownloadTestHarness h;
        const QByteArray body = patternBody(4 * 1024 * 1024);
        HttpResponse stalled = rangedResponse(body);
        stalled.stallAfterBytes = 1024 * 1024;
        h.server.setResponse(QStringLiteral("/d_Restore.ipsw"), stalled);
        h.server.setResponse(QStringLiteral("/e_Restore.ipsw"), HttpResponse::ok("other"));

        const auto log = h.start(h.firmware(QStringLiteral("/d_Restore.ipsw")));
        QVERIFY(QTest::qWaitFor([&] { return h.manager.progress() > 0; }, 30000));
        const auto ignored = h.start(h.firmware(QStringLiteral("/e_Restore.ipsw")));

        h.manager.cancel();
        QCOMPARE(h.manager.statusText(), QStringLiteral("Загрузка отменена"));
        QVERIFY(!h.manager.isDownloading());
        QCOMPARE(log->calls, 0);

        QVERIFY(waitForCalls(*log));
        QCOMPARE(h.shown(*log->last), h.failed(transferError, log->last->failure().description()));
        QCOMPARE(log->last->failure().code(), int(QNetworkReply::OperationCanceledError));
        QVERIFY(h.cacheListing().isEmpty());
        QTest::qWait(50);
        QCOMPARE(ignored->calls, 0);
        QCOMPARE(h.server.requests().size(), 1);
        QVERIFY(partialListing().isEmpty());

        h.server.setResponse(QStringLiteral("/d_Restore.ipsw"), rangedResponse(body));
        QVERIFY(h.download(h.firmware(QStringLiteral("/d_Restore.ipsw"))).ok());
        QCOMPARE(rangeStart(h.server.requests().at(1)), 0);
        QCOMPARE(h.server.requests().at(1).header("if-range"), QByteArray());

        HttpResponse stalledEarly = HttpResponse::ok(patternBody(1024 * 1024));
        stalledEarly.stallAfterBytes = 1024;
        h.server.setResponse(QStringLiteral("/f_Restore.ipsw"), stalledEarly);
        const qsizetype requestsBefore = h.server.requests().size();
        h.server.setResponse(QStringLiteral("/g_Restore.ipsw"), HttpResponse::ok("second image"));
        const auto first = h.start(h.firmware(QStringLiteral("/f_Restore.ipsw")));
        QVERIFY(QTest::qWaitFor([&] { return h.server.requests().size() > requestsBefore; }, 30000));
        h.manager.cancel();
        const auto second = h.start(h.firmware(QStringLiteral("/g_Restore.ipsw")));
        QVERIFY(waitForCalls(*second));
        QCOMPARE(second->last->failure().code(), int(QNetworkReply::OperationCanceledError));
        QVERIFY(QTest::qWaitFor([&] { return h.manager.statusText() == done; }, 30000));
        QCOMPARE(h.cacheListing(), (QStringList{"d_Restore.ipsw", "g_Restore.ipsw"}));
        QCOMPARE(first->calls, 0);
        QCOMPARE(second->calls, 1);
    }

    void managerDestroyedMidTransferLeavesNoPartialFile()
    {
        DownloadTestHarness h;
        HttpResponse stalled = HttpResponse::ok(patternBody(1024 * 1024));
        stalled.stallAfterBytes = 64 * 1024;
        h.server.setResponse(QStringLiteral("/k_Restore.ipsw"), stalled);
        auto manager = std::make_unique<DownloadManager>();
        auto log = std::make_shared<CompletionLog>();
        manager->start(h.firmware(QStringLiteral("/k_Restore.ipsw")), DownloadTestHarness::recorder(log));
        QVERIFY(QTest::qWaitFor([&] { return manager->progress() > 0; }, 30000));
        manager.reset();
        QTest::qWait(50);
        QVERIFY(h.cacheListing().isEmpty());
        QCOMPARE(log->calls, 0);
    }

    // A file under the catalogue's name is the image: it is used as it is, without network or
    // digest. A file under the name the link gives is replaced, a folder there is reported.
    void whatLiesAtTheDestination()
    {
        DownloadTestHarness h;
        const QString path = h.cached(QStringLiteral("c_Restore.ipsw"));
        QVERIFY(writeFile(path, "truncated"));
        QSignalSpy busySpy(&h.manager, &DownloadManager::isDownloadingChanged);
        const WatchFirmware cached = h.firmware(QStringLiteral("/c_Restore.ipsw"), sha256Hex("whole"));
        QCOMPARE(h.manager.existingFile(cached), std::optional<QString>(path));
        const auto log = h.start(cached);
        QCOMPARE(log->calls, 0); // delivered as a later job, never from inside start
        QCOMPARE(h.manager.downloadedURL(), std::optional<QString>(path));
        QVERIFY(waitForCalls(*log));
        QCOMPARE(log->last->value(), path);
        QVERIFY(log->alwaysOnGuiThread);
        QVERIFY(h.server.requests().isEmpty());
        QCOMPARE(FakeTools::runCount(h.paths.shasum()), 0);
        QCOMPARE(busySpy.count(), 0);
        QCOMPARE(h.statuses, QStringList{QStringLiteral("Файл уже загружен")});

        h.server.setResponse(QStringLiteral("/j_Restore.ipsw"), HttpResponse::ok("fresh"));
        // The catalogue's file name differs from the link's, so the cache check does not
        // see what lies at the destination.
        WatchFirmware firmware = h.firmware(QStringLiteral("/j_Restore.ipsw"));
        firmware.filename = QStringLiteral("listed-name.ipsw");
        const QString older = h.cached(QStringLiteral("j_Restore.ipsw"));
        QVERIFY(writeFile(older, "an older copy"));

        QVERIFY(h.download(firmware).ok());
        QCOMPARE(fileContents(older), QByteArray("fresh"));

        // A folder in the way cannot be removed, so the move fails.
        QVERIFY(QFile::remove(older));
        QVERIFY(QDir(h.cache()).mkpath(QStringLiteral("j_Restore.ipsw/inside")));
        const Result<QString> result = h.download(firmware);
        QCOMPARE(h.shown(result),
                 h.failed(QStringLiteral("Ошибка сохранения"),
                          QStringLiteral("Не удалось сохранить образ в папке прошивок: на месте файла лежит "
                                         "папка или другой файл.")));
        QCOMPARE(h.cacheListing(), (QStringList{"c_Restore.ipsw", "j_Restore.ipsw"}));
    }
};

QTEST_GUILESS_MAIN(DownloadManagerTest)
#include "DownloadManagerTest.moc"
