#include "catalog/AppleDBDecoder.h"

#include <QTest>

namespace {

// One release wrapped around the given source fields, as the second record of a catalogue.
QByteArray withSource(const QByteArray &sourceFields)
{
    return "[{'version':'1','build':'A'},{'version':'2','build':'B','sources':[{'type':'ipsw'," +
           sourceFields + "}]}]";
}

QByteArray withLink(const QByteArray &linkFields)
{
    return withSource("'links':[{'url':'https://a.b/x'},{" + linkFields + "}]");
}

// Number literals other than sizes are left alone, however large.
QByteArray sized(const QByteArray &literal)
{
    return withSource("'size':" + literal + ",'other':-9223372036854775809.5");
}

} // namespace

class AppleDBDecoderTest : public QObject {
    Q_OBJECT

private slots:
    // A malformed record rejects the whole document, with a description pointing at it. Sizes
    // written in any exact integer form decode; anything else is malformed.
    void decodesExactlyOrRejectsTheWholeDocument()
    {
        const std::pair<QByteArray, const char *> cases[] = {
            {"[{'version':", "позиция"},
            {"{}", "массив"},
            {"[{'version':'1','build':'A'},7]", "запись 1"},
            {"[{'version':'1','build':'A'},{'build':'B'}]", "запись 1, ключ «version»"},
            {withSource("'size':1.5"), "запись 1, ключ «sources[0].size»"},
            {withSource("'size':9223372036854775808"), "«sources[0].size»"},
            // Both round to a 64-bit integer as doubles, which must not make them one.
            {withSource("'size':-9223372036854775809"), "«sources[0].size»"},
            {withSource("'size':1.0000000000000000001"), "«sources[0].size»"},
            {withLink("'preferred':true"), "запись 1, ключ «sources[0].links[1].url»"},
            {withLink("'url':'https://updates.cdn-apple.com/a b.ipsw'"), "«sources[0].links[1].url»"},
            {withLink("'url':'https://a.b/y','preferred':'yes'"), "«sources[0].links[1].preferred»"},
            {sized("-9223372036854775808"), "size -9223372036854775808"},
            {sized("9223372036854775807"), "size 9223372036854775807"},
            {sized("12.000"), "size 12"},
            {sized("1.5e3"), "size 1500"},
            {sized("-0"), "size 0"},
        };
        for (const auto &[json, expected] : cases) {
            const Result<QList<AppleDBFirmware>> result =
                AppleDBDecoder::decode(QByteArray(json).replace('\'', '"'));
            const QString outcome = result ? QStringLiteral("size %1").arg(
                                                 result.value().at(1).sources->constFirst().size.value_or(-1))
                                           : result.failure().description();
            QVERIFY2(result ? outcome == QLatin1String(expected)
                            : outcome.contains(QString::fromUtf8(expected)),
                     qPrintable(outcome + QStringLiteral(" for ") + json));
        }
    }
};

QTEST_GUILESS_MAIN(AppleDBDecoderTest)
#include "AppleDBDecoderTest.moc"
