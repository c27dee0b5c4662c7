#include "CatalogLoad.h"
#include "support/FakeTools.h"
#include "support/LocalHttpServer.h"
#include "support/TestPaths.h"

#include <QCoroTask>
#include <QFile>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

// JSON written with single quotes, which keeps the literals readable.
QByteArray jsonOf(const char *text)
{
    return QByteArray(text).replace('\'', '"');
}

const QString catalogPath = QStringLiteral("/ios/watchOS/main.json");

// Releases written for the reduction rules; the comment before each group names the model it
// is about.
const QByteArray reductionCatalogue = jsonOf(
    "["
    "{'version':'10.5','build':'21T576','released':'2024-05-13','deviceMap':['Watch6,1'],'signed':['Watch6,1'"
    "],"
    "'sources':[{'type':'ipsw','deviceMap':['Watch6,1','iPhone15,2'],'hashes':{'sha2-256':'ABCdef01','md5':'"
    "x'},"
    "'size':3791368850,'links':[{'url':'https://updates.cdn-apple.com/fw/Watch6,1_10.5_Restore.ipsw'}]}]},"
    "{'version':'10.6.1','build':'21U580','released':'2024-08-07','deviceMap':['Watch6,1'],'signed':true,"
    "'sources':[{'type':'ota','deviceMap':['Watch6,1'],'links':[{'url':'https://updates.cdn-apple.com/fw/"
    "ota.zip'}]}]},"
    ""
    "{'version':'9.0','build':'20R362','released':'2022-09-12','deviceMap':['Watch6,2','Watch6,3'],'signed':["
    "'Watch6,3'],"
    "'sources':[{'type':'ipsw','deviceMap':['Watch6,2','Watch6,3','Watch7,1','Watch6,14','Watch1,1'],"
    "'links':[{'url':'https://updates.cdn-apple.com/fw/9.0.ipsw'}]}]},"
    "{'version':'9.1','build':'20S75','released':'2022-10-24','deviceMap':['Watch6,2','Watch6,3'],'signed':[]"
    ","
    "'sources':[{'type':'ipsw','deviceMap':['Watch6,2','Watch6,3','Watch7,1','Watch6,14','Watch1,1'],"
    "'links':[{'url':'https://updates.cdn-apple.com/fw/9.1.ipsw'}]}]},"
    "{'version':'0','build':'ZERO','deviceMap':['Watch6,2'],'signed':true},"
    ""
    "{'version':'10.1.1','build':'21S90','released':'2023-10-24','deviceMap':['Watch6,4'],'signed':true,"
    "'sources':[{'type':'ipsw','deviceMap':['Watch6,4'],'links':[{'url':'https://updates.cdn-apple.com/fw/"
    "a.ipsw'}]}]},"
    "{'version':'10.1','build':'21S71','released':'2023-10-24','deviceMap':['Watch6,4'],'signed':true,"
    "'sources':[{'type':'ipsw','deviceMap':['Watch6,4'],'links':[{'url':'https://updates.cdn-apple.com/fw/"
    "b.ipsw'}]}]},"
    ""
    "{'version':'10.2','build':'21S364','released':'2023-12-11','deviceMap':['Watch6,6'],'signed':true,"
    "'sources':[{'type':'ipsw','deviceMap':['Watch6,6'],'links':[{'url':'https://updates.cdn-apple.com/fw/"
    "c.ipsw'}]}]},"
    "{'version':'10.3','build':'21T216','deviceMap':['Watch6,6'],'signed':true,"
    "'sources':[{'type':'ipsw','deviceMap':['Watch6,6'],'links':[{'url':'https://updates.cdn-apple.com/fw/"
    "d.ipsw'}]}]},"
    ""
    "{'version':'10.0','build':'21R356','released':'2023-09-18','deviceMap':['Watch6,7'],'signed':['watch6,7'"
    "],"
    "'sources':[{'type':'ipsw','deviceMap':['Watch6,7'],'links':[{'url':'https://updates.cdn-apple.com/fw/"
    "e.ipsw'}]}]},"
    ""
    "{'version':'9.6','build':'20U73','released':'2023-06-01','deviceMap':['Watch6,8'],'signed':true,"
    "'sources':[{'type':'ipsw','deviceMap':['Watch6,8'],'links':[{'url':'https://updates.cdn-apple.com/fw/"
    "f.ipsw'}]}]},"
    "{'version':'10.0b1','build':'21R5275t','released':'2023-07-01','deviceMap':['Watch6,8'],'signed':true,"
    "'sources':[{'type':'ipsw','deviceMap':['Watch6,8'],'links':[{'url':'https://updates.cdn-apple.com/fw/"
    "g.ipsw'}]}]},"
    ""
    "{'version':'10.1','build':'FIRST','deviceMap':['Watch6,9'],'signed':true},"
    "{'version':'10.1.0','build':'SECOND','deviceMap':['Watch6,9'],'signed':true},"
    "{'version':'9.0','build':'20R362','released':'2022-09-12','deviceMap':['Watch6,9'],'signed':false,"
    "'sources':[{'type':'ipsw','deviceMap':['Watch6,9'],'links':[{'url':'https://updates.cdn-apple.com/fw/"
    "h.ipsw'}]}]}"
    "]");

// Later rows win; rows of four pieces and other products are not names.
const QByteArray deviceTable = "Watch6,1 n157bap 0x08 0x8301 Old Name\n"
                               "iPhone15,2 d73ap 0x0e 0x8120 iPhone 14 Pro\n"
                               "Watch6,2 n158bap 0x0a 0x8301\n"
                               "Watch6,1 n157bap 0x08 0x8301 Apple Watch Series 6 (40mm)\n";

QByteArray singleImageWithLinks(const QByteArray &links)
{
    return jsonOf("[{'version':'10.0','build':'21R356','released':'2023-09-18','deviceMap':['Watch6,1'],'"
                  "signed':true,"
                  "'sources':[{'type':'ipsw','deviceMap':['Watch6,1'],'links':") +
           links + "}]}]";
}

} // namespace

class CatalogServiceTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TestPaths> m_paths;
    QString m_irecovery;

    Result<QList<WatchFirmware>> load(const HttpResponse &response, LocalHttpServer &server)
    {
        server.setResponse(catalogPath, response);
        CatalogService service(server.url(catalogPath), CatalogService::defaultAllowedHosts());
        return waitForLoad(service.load());
    }

    Result<QList<WatchFirmware>> load(const HttpResponse &response)
    {
        LocalHttpServer server;
        return load(response, server);
    }

private slots:
    void init()
    {
        m_paths = std::make_unique<TestPaths>();
        m_irecovery = FakeTools::write(m_paths->tool(QStringLiteral("bin/irecovery")),
                                       FakeToolBehaviour::printing(deviceTable, 1));
    }

    void cleanup() { m_paths.reset(); }

    void reducesToOneImagePerModel()
    {
        const Result<QList<WatchFirmware>> result = load(HttpResponse::ok(reductionCatalogue));
        QVERIFY2(result, qPrintable(result ? QString() : result.failure().description()));
        QCOMPARE(FakeTools::recordedArguments(m_irecovery), QStringList{QStringLiteral("--devices")});

        QStringList order;
        QHash<QString, WatchFirmware> byModel;
        for (const WatchFirmware &firmware : result.value()) {
            order << firmware.productType;
            byModel.insert(firmware.productType, firmware);
        }
        QCOMPARE(order, (QStringList{"Watch1,1", "Watch6,1", "Watch6,2", "Watch6,3", "Watch6,4", "Watch6,6",
                                     "Watch6,7", "Watch6,8", "Watch6,9", "Watch6,14", "Watch7,1"}));

        // The newest signed build is an OTA only; the older signed full image is offered instead.
        const WatchFirmware expected{
            QStringLiteral("Watch6,1"),
            QStringLiteral("Apple Watch Series 6 (40mm)"),
            QStringLiteral("10.5"),
            QStringLiteral("21T576"),
            QStringLiteral("2024-05-13"),
            true,
            QUrl(QStringLiteral("https://updates.cdn-apple.com/fw/Watch6,1_10.5_Restore.ipsw")),
            QStringLiteral("Watch6,1_10.5_Restore.ipsw"),
            QStringLiteral("ABCdef01"),
            3791368850,
            QStringLiteral("10.6.1"),
            QStringLiteral("21U580")};
        QCOMPARE(byModel.value(QStringLiteral("Watch6,1")), expected);
        QVERIFY(expected.currentNote().has_value());

        struct Choice {
            const char *productType;
            const char *build;
            bool isSigned;
            std::optional<QString> currentSignedBuild;
        };
        const Choice choices[] = {
            {"Watch6,2", "20S75", false, std::nullopt}, // unsigned only; version 0 is never current
            {"Watch6,3", "20R362", true, QStringLiteral("20R362")},  // signed earlier beats unsigned later
            {"Watch6,4", "21S71", true, QStringLiteral("21S90")},    // equal dates: later in the catalogue
            {"Watch6,6", "21S364", true, QStringLiteral("21T216")},  // a missing date sorts first
            {"Watch6,7", "21R356", false, std::nullopt},             // signing names the model in other case
            {"Watch6,8", "21R5275t", true, QStringLiteral("20U73")}, // a beta is chosen, never current
            {"Watch6,9", "20R362", false, QStringLiteral("FIRST")},  // an equal version does not replace
        };
        for (const Choice &choice : choices) {
            const WatchFirmware firmware = byModel.value(QString::fromLatin1(choice.productType));
            QCOMPARE(firmware.build, QString::fromLatin1(choice.build));
            QCOMPARE(firmware.isCatalogSigned, choice.isSigned);
            QCOMPARE(firmware.currentSignedBuild, choice.currentSignedBuild);
        }
        const WatchFirmware unnamed = byModel.value(QStringLiteral("Watch6,2"));
        QCOMPARE(unnamed.deviceName, QStringLiteral("Apple Watch"));
        QCOMPARE(unnamed.sha256, QString());
        QCOMPARE(unnamed.size, 0);
        QCOMPARE(unnamed.released, QStringLiteral("2022-10-24"));
    }

    void acceptsOnlyAllowedLinks_data()
    {
        QTest::addColumn<QByteArray>("links");
        QTest::addColumn<QString>("chosen"); // empty: the model is not offered at all

        const QString first = QStringLiteral("https://updates.cdn-apple.com/fw/first.ipsw");
        const QString second = QStringLiteral("https://secure-appldnld.apple.com/fw/second.ipsw");
        const QByteArray both = jsonOf("[{'url':'https://updates.cdn-apple.com/fw/first.ipsw'},"
                                       "{'url':'https://secure-appldnld.apple.com/fw/second.ipsw'");
        QTest::newRow("inactive") << jsonOf("[{'url':'https://updates.cdn-apple.com/a','active':false}]")
                                  << QString();
        QTest::newRow("plain http") << jsonOf("[{'url':'http://updates.cdn-apple.com/a'}]") << QString();
        QTest::newRow("off the list") << jsonOf("[{'url':'https://example.com/a'}]") << QString();
        QTest::newRow("subdomain") << jsonOf("[{'url':'https://x.updates.cdn-apple.com/a'}]") << QString();
        QTest::newRow("upper-case host")
            << jsonOf("[{'url':'https://UPDATES.cdn-apple.com/a'}]") << QString();
        QTest::newRow("trailing dot") << jsonOf("[{'url':'https://updates.cdn-apple.com./a'}]") << QString();
        QTest::newRow("upper-case scheme")
            << jsonOf("[{'url':'HTTPS://updates.cdn-apple.com/a'}]") << QString();
        QTest::newRow("relative") << jsonOf("[{'url':'/fw/a.ipsw'}]") << QString();
        QTest::newRow("port past 65535")
            << jsonOf("[{'url':'https://updates.cdn-apple.com:99999/a'}]") << QString();
        QTest::newRow("escaped host") << jsonOf("[{'url':'https://updates%2Ecdn-apple.com/a'}]") << QString();
        QTest::newRow("no links") << QByteArray("[]") << QString();
        QTest::newRow("second preferred") << both + jsonOf(",'preferred':true}]") << second;
        QTest::newRow("neither preferred") << both + "}]" << first;
        QTest::newRow("preferred but inactive")
            << both + jsonOf(",'preferred':true,'active':false}]") << first;
        QTest::newRow("user and port")
            << jsonOf("[{'url':'https://me@appldnld.apple.com:443/fw/a.ipsw','active':true}]")
            << QStringLiteral("https://me@appldnld.apple.com:443/fw/a.ipsw");
    }

    void acceptsOnlyAllowedLinks()
    {
        QFETCH(QByteArray, links);
        QFETCH(QString, chosen);
        const Result<QList<WatchFirmware>> result = load(HttpResponse::ok(singleImageWithLinks(links)));
        QVERIFY2(result, qPrintable(result ? QString() : result.failure().description()));
        if (chosen.isEmpty()) {
            QVERIFY(result.value().isEmpty());
        } else {
            QCOMPARE(result.value().size(), 1);
            QCOMPARE(result.value().constFirst().downloadURL, QUrl(chosen));
        }
    }

    void failsWithoutAskingForNames_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("location");    // empty: no redirect
        QTest::addColumn<qint64>("abortAfterBytes"); // -1: complete body
        QTest::addColumn<int>("domain");
        QTest::addColumn<QString>("mentions");

        const int studio = int(Failure::Domain::studio);
        const int network = int(Failure::Domain::network);
        const QString invalid = StudioError::invalidCatalog().errorDescription();
        QTest::newRow("404") << 404 << QByteArray("[]") << QByteArray() << qint64(-1) << studio << invalid;
        QTest::newRow("304") << 304 << QByteArray() << QByteArray() << qint64(-1) << studio << invalid;
        QTest::newRow("203") << 203 << QByteArray("[]") << QByteArray() << qint64(-1) << studio << invalid;
        QTest::newRow("malformed last record")
            << 200 << jsonOf("[{'version':'1','build':'A'},{'version':'2','build':'B'},{'version':'3'}]")
            << QByteArray() << qint64(-1) << int(Failure::Domain::json)
            << QStringLiteral("record 2, key \"build\"");
        QTest::newRow("connection dropped")
            << 200 << reductionCatalogue << QByteArray() << qint64(100) << network << QString();
        // A failed transfer stays a transfer failure, whatever status was seen before it broke.
        QTest::newRow("redirect loop")
            << 302 << QByteArray() << catalogPath.toUtf8() << qint64(-1) << network << QString();
    }

    void failsWithoutAskingForNames()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, location);
        QFETCH(qint64, abortAfterBytes);
        QFETCH(int, domain);
        QFETCH(QString, mentions);
        HttpResponse response = HttpResponse::withStatus(status, body);
        if (!location.isEmpty())
            response.headers.append({"Location", location});
        if (abortAfterBytes >= 0)
            response.abortAfterBytes = abortAfterBytes;

        const Result<QList<WatchFirmware>> result = load(response);
        QVERIFY(!result);
        QCOMPARE(int(result.failure().domain()), domain);
        QVERIFY2(result.failure().description().contains(mentions),
                 qPrintable(result.failure().description()));
        QCOMPARE(FakeTools::runCount(m_irecovery), 0);
    }

    void emptyCatalogueIsNoErrorAndTheRequestCarriesOnlyOurUserAgent()
    {
        LocalHttpServer server;
        const Result<QList<WatchFirmware>> result = load(HttpResponse::ok("[]"), server);
        QVERIFY(result && result.value().isEmpty());
        QCOMPARE(server.requests().size(), 1);
        QCOMPARE(server.requests().constFirst().header("user-agent"), QByteArray("Corvalin-Studio/1.0"));
    }

    void destroyedServiceEndsItsLoad()
    {
        LocalHttpServer server;
        HttpResponse stalled = HttpResponse::ok(reductionCatalogue);
        stalled.stallAfterBytes = 10;
        server.setResponse(catalogPath, stalled);
        auto service =
            std::make_unique<CatalogService>(server.url(catalogPath), CatalogService::defaultAllowedHosts());
        QSignalSpy received(&server, &LocalHttpServer::requestReceived);
        QCoro::Task<Result<QList<WatchFirmware>>> loading = service->load();
        QVERIFY(received.wait());
        service.reset();
        const Result<QList<WatchFirmware>> result = waitForLoad(std::move(loading));
        QVERIFY(!result);
        QCOMPARE(result.failure().code(), int(QNetworkReply::OperationCanceledError));
        QVERIFY(result.failure().description() != Failure::networkTimeout(0).description());
    }

    void stalledRequestTimesOut()
    {
        LocalHttpServer server;
        HttpResponse stalled = HttpResponse::ok(reductionCatalogue);
        stalled.stallAfterBytes = 10;
        server.setResponse(catalogPath, stalled);
        CatalogService service(server.url(catalogPath), CatalogService::defaultAllowedHosts());
        service.setTransferTimeout(std::chrono::milliseconds(300));
        const Result<QList<WatchFirmware>> result = waitForLoad(service.load());
        QVERIFY(!result);
        QCOMPARE(result.failure().domain(), Failure::Domain::network);
        QCOMPARE(result.failure().code(), int(QNetworkReply::TimeoutError));
        QCOMPARE(result.failure().description(), QStringLiteral("Превышен лимит времени на запрос."));
        QCOMPARE(FakeTools::runCount(m_irecovery), 0);
    }

    void reducesTheRealCatalogue()
    {
        QFile table(QStringLiteral(CORVALIN_TEST_DATA "/irecovery-devices.txt"));
        QVERIFY(table.open(QIODevice::ReadOnly));
        FakeTools::write(m_irecovery, FakeToolBehaviour::printing(table.readAll()));
        HttpResponse response;
        response.bodyFile = QStringLiteral(CORVALIN_TEST_DATA "/appledb-watchos-main.json");

        const Result<QList<WatchFirmware>> result = load(response);
        QVERIFY2(result, qPrintable(result ? QString() : result.failure().description()));
        const QList<WatchFirmware> &list = result.value();
        QCOMPARE(list.size(), 40);
        QCOMPARE(list.constFirst().productType, QStringLiteral("Watch1,1"));
        QCOMPARE(list.constLast().productType, QStringLiteral("Watch7,5"));

        const auto find = [&](const QString &productType) {
            return *std::find_if(list.begin(), list.end(), [&](const WatchFirmware &firmware) {
                return firmware.productType == productType;
            });
        };
        const WatchFirmware series3 = find(QStringLiteral("Watch3,1"));
        QCOMPARE(series3.deviceName, QStringLiteral("Apple Watch Series 3 (38mm Cellular)"));
        QCOMPARE(series3.build, QStringLiteral("19U512"));
        QVERIFY(series3.isCatalogSigned);
        QVERIFY(!series3.currentNote());

        const WatchFirmware series8 = find(QStringLiteral("Watch6,14"));
        QCOMPARE(series8.version, QStringLiteral("10.0.1"));
        QVERIFY(!series8.isCatalogSigned);
        QCOMPARE(
            series8.currentNote(),
            QStringLiteral("Актуальная подписываемая сборка watchOS 26.3 (23S620) доступна только как OTA."));
    }
};

QTEST_GUILESS_MAIN(CatalogServiceTest)
#include "CatalogServiceTest.moc"
