#include "catalog/AppleDBDecoder.h"

#include <QTest>

#include <limits>

namespace {

// JSON written with single quotes, which keeps the literals readable.
QByteArray jsonOf(const char *text)
{
    return QByteArray(text).replace('\'', '"');
}

// One release wrapped around the given source fields, as the second record of a catalogue.
QByteArray withSource(const QByteArray &sourceFields)
{
    return jsonOf("[{'version':'1','build':'A'},{'version':'2','build':'B','sources':[{'type':'ipsw',") +
           sourceFields + "}]}]";
}

QByteArray withLink(const QByteArray &linkFields)
{
    return withSource(jsonOf("'links':[{'url':'https://a.b/x'},{") + linkFields + "}]");
}

} // namespace

class AppleDBDecoderTest : public QObject {
    Q_OBJECT

private slots:
    void rejectsTheWholeDocument_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("mentions"); // where the description must point

        QTest::newRow("malformed JSON") << jsonOf("[{'version':") << QStringLiteral("offset");
        QTest::newRow("object at top level") << QByteArray("{}") << QStringLiteral("array");
        QTest::newRow("record not an object")
            << jsonOf("[{'version':'1','build':'A'},7]") << QStringLiteral("record 1");
        QTest::newRow("missing version") << jsonOf("[{'version':'1','build':'A'},{'build':'B'}]")
                                         << QStringLiteral("record 1, key \"version\"");
        QTest::newRow("null build") << jsonOf("[{'version':'1','build':null}]")
                                    << QStringLiteral("record 0, key \"build\"");
        QTest::newRow("number in deviceMap")
            << jsonOf("[{'version':'1','build':'A','deviceMap':['Watch6,1',6]}]")
            << QStringLiteral("\"deviceMap\"");
        QTest::newRow("sources not an array")
            << jsonOf("[{'version':'1','build':'A','sources':{}}]") << QStringLiteral("\"sources\"");
        QTest::newRow("source without type")
            << jsonOf("[{'version':'1','build':'A','sources':[{'links':[]}]}]")
            << QStringLiteral("record 0, key \"sources[0].type\"");
        QTest::newRow("fractional size")
            << withSource(jsonOf("'size':1.5")) << QStringLiteral("record 1, key \"sources[0].size\"");
        QTest::newRow("size just past 64 bits")
            << withSource(jsonOf("'size':9223372036854775808")) << QStringLiteral("\"sources[0].size\"");
        // Both round to a 64-bit integer as doubles, which must not make them one.
        QTest::newRow("size just below -2^63")
            << withSource(jsonOf("'size':-9223372036854775809")) << QStringLiteral("\"sources[0].size\"");
        QTest::newRow("size a hair above an integer")
            << withSource(jsonOf("'size':1.0000000000000000001")) << QStringLiteral("\"sources[0].size\"");
        QTest::newRow("null digest") << withSource(jsonOf("'hashes':{'sha1':'ab','sha2-256':null}"))
                                     << QStringLiteral("\"sources[0].hashes\"");
        QTest::newRow("link without url") << withLink(jsonOf("'preferred':true"))
                                          << QStringLiteral("record 1, key \"sources[0].links[1].url\"");
        QTest::newRow("url with a space")
            << withLink(jsonOf("'url':'https://updates.cdn-apple.com/a b.ipsw'"))
            << QStringLiteral("\"sources[0].links[1].url\"");
        QTest::newRow("url with a bad escape") << withLink(jsonOf("'url':'https://a.b/%zz.ipsw'"))
                                               << QStringLiteral("\"sources[0].links[1].url\"");
        QTest::newRow("preferred as text") << withLink(jsonOf("'url':'https://a.b/y','preferred':'yes'"))
                                           << QStringLiteral("\"sources[0].links[1].preferred\"");
    }

    void rejectsTheWholeDocument()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, mentions);
        const Result<QList<AppleDBFirmware>> result = AppleDBDecoder::decode(json);
        QVERIFY(!result);
        QCOMPARE(result.failure().domain(), Failure::Domain::json);
        QVERIFY2(result.failure().description().contains(mentions),
                 qPrintable(result.failure().description()));
    }

    // Sizes written in any exact integer form decode; number literals elsewhere are untouched.
    void exactIntegersInEveryForm_data()
    {
        QTest::addColumn<QByteArray>("literal");
        QTest::addColumn<qint64>("size");
        QTest::newRow("lowest") << QByteArray("-9223372036854775808") << std::numeric_limits<qint64>::min();
        QTest::newRow("highest") << QByteArray("9223372036854775807") << std::numeric_limits<qint64>::max();
        QTest::newRow("with a zero fraction") << QByteArray("12.000") << qint64(12);
        QTest::newRow("with an exponent") << QByteArray("1.5e3") << qint64(1500);
        QTest::newRow("minus zero") << QByteArray("-0") << qint64(0);
    }
    void exactIntegersInEveryForm()
    {
        QFETCH(QByteArray, literal);
        QFETCH(qint64, size);
        const Result<QList<AppleDBFirmware>> result =
            AppleDBDecoder::decode(withSource("\"size\":" + literal + ",\"other\":-9223372036854775809.5"));
        QVERIFY2(result, result ? "" : qPrintable(result.failure().description()));
        QCOMPARE(result.value().at(1).sources->constFirst().size, std::optional<qint64>(size));
    }

    // References Qt's strict parser refuses still decode; the allow-list turns them down later.
    void urlReferencesBeyondQtsStrictMode_data()
    {
        QTest::addColumn<QString>("url");
        QTest::newRow("IPv6 literal") << QStringLiteral("https://[::1]:8443/a.ipsw");
        QTest::newRow("relative with a query") << QStringLiteral("a/b.ipsw?x=1#y");
    }
    void urlReferencesBeyondQtsStrictMode()
    {
        QFETCH(QString, url);
        const Result<QList<AppleDBFirmware>> result =
            AppleDBDecoder::decode(withLink("\"url\":\"" + url.toUtf8() + '"'));
        QVERIFY2(result, result ? "" : qPrintable(result.failure().description()));
        QCOMPARE(result.value().at(1).sources->constFirst().links->at(1).urlText, url);
    }

    void signedIsForgiving_data()
    {
        QTest::addColumn<QByteArray>("field"); // the "signed" member, or nothing
        QTest::addColumn<int>("kind");         // -1: absent
        QTest::addColumn<QStringList>("devices");

        const int devices = int(AppleDBSigned::Kind::devices);
        const int all = int(AppleDBSigned::Kind::all);
        const int none = int(AppleDBSigned::Kind::none);
        QTest::newRow("true") << jsonOf(",'signed':true") << all << QStringList();
        QTest::newRow("false") << jsonOf(",'signed':false") << none << QStringList();
        QTest::newRow("list") << jsonOf(",'signed':['Watch6,1','Watch6,2']") << devices
                              << QStringList{"Watch6,1", "Watch6,2"};
        QTest::newRow("empty list") << jsonOf(",'signed':[]") << devices << QStringList();
        QTest::newRow("text") << jsonOf(",'signed':'yes'") << none << QStringList();
        QTest::newRow("object") << jsonOf(",'signed':{'Watch6,1':true}") << none << QStringList();
        QTest::newRow("mixed list") << jsonOf(",'signed':['Watch6,1',1]") << none << QStringList();
        QTest::newRow("null") << jsonOf(",'signed':null") << -1 << QStringList();
        QTest::newRow("missing") << QByteArray() << -1 << QStringList();
    }

    void signedIsForgiving()
    {
        QFETCH(QByteArray, field);
        QFETCH(int, kind);
        QFETCH(QStringList, devices);
        const Result<QList<AppleDBFirmware>> result =
            AppleDBDecoder::decode(jsonOf("[{'version':'1','build':'A'") + field + "}]");
        QVERIFY(result);
        const std::optional<AppleDBSigned> &status = result.value().constFirst().signedStatus;
        QCOMPARE(status.has_value(), kind >= 0);
        if (status) {
            QCOMPARE(int(status->kind()), kind);
            QCOMPARE(status->devices(), devices);
        }
    }

    void optionalFieldsAndUnknownKeys()
    {
        const QByteArray json = jsonOf(
            "["
            "{'version':'10.0b1','build':'21R5275t'},"
            "{'osStr':'watchOS','version':'9.6.3 (20U502)','build':'20U502','released':null,'beta':false,"
            "'deviceMap':['Watch6,1'],'sources':["
            "{'type':'ipsw','extra':{'x':[1,2]},'size':9223372036854775807,"
            "'hashes':{'sha2-256':'ABCdef','md5':'00'},"
            "'links':[{'url':'fullrestores/Watch6,1.ipsw','preferred':null,'active':false,'note':1}]},"
            "{'type':'ota','size':2.0,'deviceMap':null,'links':null,'hashes':null}]}]");
        const Result<QList<AppleDBFirmware>> result = AppleDBDecoder::decode(json);
        QVERIFY2(result, qPrintable(result ? QString() : result.failure().description()));
        QCOMPARE(result.value().size(), 2);

        const AppleDBFirmware &bare = result.value().at(0);
        QCOMPARE(bare.version, QStringLiteral("10.0b1"));
        QVERIFY(!bare.released && !bare.deviceMap && !bare.signedStatus && !bare.sources);

        const AppleDBFirmware &full = result.value().at(1);
        QCOMPARE(full.version, QStringLiteral("9.6.3 (20U502)"));
        QVERIFY(!full.released);
        QCOMPARE(full.sources->size(), 2);
        const AppleDBSource &image = full.sources->at(0);
        QCOMPARE(image.size, std::optional<qint64>(std::numeric_limits<qint64>::max()));
        QCOMPARE(image.hashes->value(QStringLiteral("sha2-256")), QStringLiteral("ABCdef"));
        const AppleDBLink &link = image.links->constFirst();
        QCOMPARE(link.urlText, QStringLiteral("fullrestores/Watch6,1.ipsw"));
        QVERIFY(!link.preferred);
        QCOMPARE(link.active, std::optional<bool>(false));

        const AppleDBSource &update = full.sources->at(1);
        QCOMPARE(update.size, std::optional<qint64>(2));
        QVERIFY(!update.deviceMap && !update.links && !update.hashes);
    }
};

QTEST_GUILESS_MAIN(AppleDBDecoderTest)
#include "AppleDBDecoderTest.moc"
