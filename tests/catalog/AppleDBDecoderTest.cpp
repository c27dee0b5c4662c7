#include "catalog/AppleDBDecoder.h"

#include <QTest>

#include <limits>

namespace {

// JSON written with single quotes, which keeps the literals readable.
QByteArray jsonOf(const QByteArray &text)
{
    return QByteArray(text).replace('\'', '"');
}

// One release wrapped around the given source fields, as the second record of a catalogue.
QByteArray withSource(const QByteArray &sourceFields)
{
    return jsonOf("[{'version':'1','build':'A'},{'version':'2','build':'B','sources':[{'type':'ipsw'," +
                  sourceFields + "}]}]");
}

QByteArray withLink(const QByteArray &linkFields)
{
    return withSource("'links':[{'url':'https://a.b/x'},{" + linkFields + "}]");
}

} // namespace

class AppleDBDecoderTest : public QObject {
    Q_OBJECT

private slots:
    void rejectsTheWholeDocument_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("mentions"); // where the description must point
        const auto row = [](const char *tag, const QByteArray &json, const char *mentions) {
            QTest::newRow(tag) << jsonOf(json) << QString::fromUtf8(mentions);
        };
        row("malformed JSON", "[{'version':", "позиция");
        row("object at top level", "{}", "массив");
        row("record not an object", "[{'version':'1','build':'A'},7]", "запись 1");
        row("missing version", "[{'version':'1','build':'A'},{'build':'B'}]", "запись 1, ключ «version»");
        row("fractional size", withSource("'size':1.5"), "запись 1, ключ «sources[0].size»");
        row("size just past 64 bits", withSource("'size':9223372036854775808"), "«sources[0].size»");
        // Both round to a 64-bit integer as doubles, which must not make them one.
        row("size just below -2^63", withSource("'size':-9223372036854775809"), "«sources[0].size»");
        row("size a hair above an integer", withSource("'size':1.0000000000000000001"), "«sources[0].size»");
        row("link without url", withLink("'preferred':true"), "запись 1, ключ «sources[0].links[1].url»");
        row("url with a space", withLink("'url':'https://updates.cdn-apple.com/a b.ipsw'"),
            "«sources[0].links[1].url»");
        row("preferred as text", withLink("'url':'https://a.b/y','preferred':'yes'"),
            "«sources[0].links[1].preferred»");
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
            AppleDBDecoder::decode(withSource("'size':" + literal + ",'other':-9223372036854775809.5"));
        QVERIFY2(result, result ? "" : qPrintable(result.failure().description()));
        QCOMPARE(result.value().at(1).sources->constFirst().size, std::optional<qint64>(size));
    }

    void signedIsForgiving_data()
    {
        QTest::addColumn<QByteArray>("value"); // of the "signed" member; empty: no member
        QTest::addColumn<int>("kind");         // -1: absent
        QTest::addColumn<QStringList>("devices");
        const auto row = [](const char *value, AppleDBSigned::Kind kind, const QStringList &devices = {}) {
            QTest::newRow(value) << QByteArray(value) << int(kind) << devices;
        };
        row("true", AppleDBSigned::Kind::all);
        row("false", AppleDBSigned::Kind::none);
        row("['Watch6,1','Watch6,2']", AppleDBSigned::Kind::devices, {"Watch6,1", "Watch6,2"});
        row("[]", AppleDBSigned::Kind::devices);
        row("['Watch6,1',1]", AppleDBSigned::Kind::none);
        QTest::newRow("null") << QByteArray("null") << -1 << QStringList();
        QTest::newRow("missing") << QByteArray() << -1 << QStringList();
    }

    void signedIsForgiving()
    {
        QFETCH(QByteArray, value);
        QFETCH(int, kind);
        QFETCH(QStringList, devices);
        const QByteArray field = value.isEmpty() ? QByteArray() : ",'signed':" + value;
        const Result<QList<AppleDBFirmware>> result =
            AppleDBDecoder::decode(jsonOf("[{'version':'1','build':'A'" + field + "}]"));
        QVERIFY(result);
        const std::optional<AppleDBSigned> &status = result.value().constFirst().signedStatus;
        QCOMPARE(status.has_value(), kind >= 0);
        if (status) {
            QCOMPARE(int(status->kind()), kind);
            QCOMPARE(status->devices(), devices);
        }
    }
};

QTEST_GUILESS_MAIN(AppleDBDecoderTest)
#include "AppleDBDecoderTest.moc"
