#include "CatalogLoad.h"
#include "support/FakeTools.h"
#include "support/LocalHttpServer.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"

#include <QCoroTask>
#include <QTest>

#include <memory>

namespace {

const QString catalogPath = QStringLiteral("/ios/watchOS/main.json");

// A catalogue of the given releases, written with single quotes, which keeps the literals readable.
QByteArray catalogueOf(const QList<QByteArray> &releases)
{
    QByteArray json = '[' + releases.join(',') + ']';
    return json.replace('\'', '"');
}

// One release; `models` and `signedField` stand in the record as written, `sources` is the body of
// its sources list (none when empty) and an empty `released` leaves the date out.
QByteArray release(const char *version, const char *build, const char *released, const char *models,
                   const char *signedField, const QByteArray &sources = {})
{
    QByteArray json = "{'version':'" + QByteArray(version) + "','build':'" + build + "','deviceMap':[" +
                      models + "],'signed':" + signedField;
    if (*released)
        json += ",'released':'" + QByteArray(released) + '\'';
    if (!sources.isEmpty())
        json += ",'sources':[" + sources + ']';
    return json + '}';
}

// A full image for `models` on the CDN, with any further fields of its source.
QByteArray image(const char *name, const char *models, const char *fields = "")
{
    return "{'type':'ipsw','deviceMap':[" + QByteArray(models) + "]," + fields +
           "'links':[{'url':'https://updates.cdn-apple.com/fw/" + name + "'}]}";
}

const char *const sharedModels = "'Watch6,2','Watch6,3','Watch7,1','Watch6,14','Watch1,1'";

// Releases written for the reduction rules, grouped by the model they are about.
const QByteArray reductionCatalogue = catalogueOf({
    release("10.5", "21T576", "2024-05-13", "'Watch6,1'", "['Watch6,1']",
            image("Watch6,1_10.5_Restore.ipsw", "'Watch6,1','iPhone15,2'",
                  "'hashes':{'sha2-256':'ABCdef01','md5':'x'},'size':3791368850,")),
    release("10.6.1", "21U580", "2024-08-07", "'Watch6,1'", "true",
            "{'type':'ota','deviceMap':['Watch6,1'],'links':[{'url':'https://updates.cdn-apple.com/fw/"
            "ota.zip'}]}"),

    release("9.0", "20R362", "2022-09-12", "'Watch6,2','Watch6,3'", "['Watch6,3']",
            image("9.0.ipsw", sharedModels)),
    release("9.1", "20S75", "2022-10-24", "'Watch6,2','Watch6,3'", "[]", image("9.1.ipsw", sharedModels)),
    release("0", "ZERO", "", "'Watch6,2'", "true"),

    release("10.1.1", "21S90", "2023-10-24", "'Watch6,4'", "true", image("a.ipsw", "'Watch6,4'")),
    release("10.1", "21S71", "2023-10-24", "'Watch6,4'", "true", image("b.ipsw", "'Watch6,4'")),

    release("10.2", "21S364", "2023-12-11", "'Watch6,6'", "true", image("c.ipsw", "'Watch6,6'")),
    release("10.3", "21T216", "", "'Watch6,6'", "true", image("d.ipsw", "'Watch6,6'")),

    release("10.0", "21R356", "2023-09-18", "'Watch6,7'", "['watch6,7']", image("e.ipsw", "'Watch6,7'")),
    release("11.0", "MIXED", "2024-09-01", "'Watch6,7'", "['Watch6,7',1]", image("m.ipsw", "'Watch6,7'")),
    release("11.1", "NULL", "2024-10-01", "'Watch6,7'", "null", image("n.ipsw", "'Watch6,7'")),

    release("9.6", "20U73", "2023-06-01", "'Watch6,8'", "true", image("f.ipsw", "'Watch6,8'")),
    release("10.0b1", "21R5275t", "2023-07-01", "'Watch6,8'", "true", image("g.ipsw", "'Watch6,8'")),

    release("10.1", "FIRST", "", "'Watch6,9'", "true"),
    release("10.1.0", "SECOND", "", "'Watch6,9'", "true"),
    release("9.0", "20R362", "2022-09-12", "'Watch6,9'", "false", image("h.ipsw", "'Watch6,9'")),
});

// Later rows win; rows of four pieces and other products are not names.
const QByteArray deviceTable = "Watch6,1 n157bap 0x08 0x8301 Old Name\n"
                               "iPhone15,2 d73ap 0x0e 0x8120 iPhone 14 Pro\n"
                               "Watch6,2 n158bap 0x0a 0x8301\n"
                               "Watch6,1 n157bap 0x08 0x8301 Apple Watch Series 6 (40mm)\n";

QByteArray singleImageWithLinks(const QByteArray &links)
{
    return catalogueOf({release("10.0", "21R356", "2023-09-18", "'Watch6,1'", "true",
                                "{'type':'ipsw','deviceMap':['Watch6,1'],'links':" + links + '}')});
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
        LocalHttpServer server;
        const Result<QList<WatchFirmware>> result = load(HttpResponse::ok(reductionCatalogue), server);
        QVERIFY2(result, qPrintable(result ? QString() : result.failure().description()));
        QCOMPARE(server.requests().size(), 1);
        QCOMPARE(server.requests().constFirst().header("user-agent"), QByteArray("Corvalin-Studio/1.0"));
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
            {"Watch6,3", "20R362", true, QStringLiteral("20R362")}, // signed earlier beats unsigned later
            {"Watch6,4", "21S71", true, QStringLiteral("21S90")},   // equal dates: later in the catalogue
            {"Watch6,6", "21S364", true, QStringLiteral("21T216")}, // a missing date sorts first
            {"Watch6,7", "NULL", false,
             std::nullopt}, // signing names it in other case, beside a number, or null
            {"Watch6,8", "21R5275t", true, QStringLiteral("20U73")}, // a beta is chosen, never current
            {"Watch6,9", "20R362", false, QStringLiteral("FIRST")},  // an equal version does not replace
        };
        for (const Choice &choice : choices) {
            const WatchFirmware firmware = byModel.value(QString::fromLatin1(choice.productType));
            QCOMPARE(firmware.build, QString::fromLatin1(choice.build));
            QCOMPARE(firmware.isCatalogSigned, choice.isSigned);
            QCOMPARE(firmware.currentSignedBuild, choice.currentSignedBuild);
        }
        QCOMPARE(byModel.value(QStringLiteral("Watch6,2")).deviceName, QStringLiteral("Apple Watch"));
    }

    void acceptsOnlyAllowedLinks()
    {
        const QString first = QStringLiteral("https://updates.cdn-apple.com/fw/first.ipsw");
        const QString second = QStringLiteral("https://secure-appldnld.apple.com/fw/second.ipsw");
        const QByteArray both = "[{'url':'" + first.toUtf8() + "'},{'url':'" + second.toUtf8() + '\'';
        // The link chosen; none: the model is not offered at all.
        QList<std::pair<QByteArray, QString>> cases{
            {both + ",'preferred':true}]", second},
            {both + "}]", first},
            {both + ",'preferred':true,'active':false}]", first},
            {"[{'url':'https://me@appldnld.apple.com:443/fw/a.ipsw','active':true}]",
             QStringLiteral("https://me@appldnld.apple.com:443/fw/a.ipsw")}};
        // Scheme and host count as written: Qt's parsed forms would lower-case or unescape them.
        for (const char *refused :
             {"'url':'http://updates.cdn-apple.com/a'", "'url':'https://x.updates.cdn-apple.com/a'",
              "'url':'https://UPDATES.cdn-apple.com/a'", "'url':'HTTPS://updates.cdn-apple.com/a'",
              "'url':'https://updates%2Ecdn-apple.com/a'", "'url':'https://updates.cdn-apple.com:99999/a'",
              "'url':'https://updates.cdn-apple.com/a','active':false"})
            cases.append({"[{" + QByteArray(refused) + "}]", QStringLiteral("none")});

        for (const auto &[links, chosen] : cases) {
            const Result<QList<WatchFirmware>> result = load(HttpResponse::ok(singleImageWithLinks(links)));
            QVERIFY2(result, qPrintable(result ? QString() : result.failure().description()));
            const QStringList offered = result.value().isEmpty()
                                            ? QStringList{"none"}
                                            : QStringList{result.value().constFirst().downloadURL.toString()};
            QCOMPARE(QString::fromUtf8(links) + " → " + offered.join(u' '),
                     QString::fromUtf8(links) + " → " + chosen);
        }
    }

    void failsWithoutAskingForNames()
    {
        const QString invalid = StudioError::invalidCatalog().errorDescription();
        HttpResponse dropped = HttpResponse::ok(reductionCatalogue);
        dropped.dropAfterTotalBytes = 100;
        const struct {
            const char *label;
            HttpResponse response;
            QString mentions;
        } cases[] = {
            // 404 as well: StudioModelTest's refresh reads its exact text.
            {"203", HttpResponse::withStatus(203, "[]"), invalid},
            {"malformed last record",
             HttpResponse::ok(catalogueOf(
                 {"{'version':'1','build':'A'}", "{'version':'2','build':'B'}", "{'version':'3'}"})),
             QStringLiteral("запись 2, ключ «build»")},
            {"connection dropped", dropped, {}},
            // A failed transfer stays a transfer failure, whatever status was seen before it broke.
            {"redirect loop", HttpResponse::redirect(catalogPath), {}},
        };
        for (const auto &c : cases) {
            const Result<QList<WatchFirmware>> result = load(c.response);
            // Without a mention, the transfer's own failure, not the catalogue's.
            QVERIFY2(
                !result && (c.mentions.isEmpty() ? result.failure().description() != invalid
                                                 : result.failure().description().contains(c.mentions)),
                qPrintable(QString::fromLatin1(c.label) +
                           (result ? QString() : QStringLiteral(": ") + result.failure().description())));
        }
        QCOMPARE(FakeTools::runCount(m_irecovery), 0);
    }

    // A stalled load ends when its service goes away, or when the transfer time-out fires; only
    // the time-out is reported as one.
    void stalledLoadEnds()
    {
        for (const bool destroyService : {true, false}) {
            LocalHttpServer server;
            HttpResponse stalled = HttpResponse::ok(reductionCatalogue);
            stalled.stallAfterBytes = 10;
            server.setResponse(catalogPath, stalled);
            auto service = std::make_unique<CatalogService>(server.url(catalogPath),
                                                            CatalogService::defaultAllowedHosts());
            if (!destroyService)
                service->setTransferTimeout(std::chrono::milliseconds(300));
            QCoro::Task<Result<QList<WatchFirmware>>> loading = service->load();
            QVERIFY(QTest::qWaitFor([&] { return !server.requests().isEmpty(); }));
            if (destroyService)
                service.reset();
            const Result<QList<WatchFirmware>> result = waitForLoad(std::move(loading));
            QVERIFY(!result);
            QCOMPARE(result.failure().description() == QStringLiteral("Превышен лимит времени на запрос."),
                     !destroyService);
        }
        QCOMPARE(FakeTools::runCount(m_irecovery), 0);
    }

    void reducesTheRealCatalogue()
    {
        FakeTools::write(m_irecovery, FakeToolBehaviour::printing(testData("irecovery-devices.txt")));
        const Result<QList<WatchFirmware>> result =
            load(HttpResponse::ok(testData("appledb-watchos-main.json")));
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
