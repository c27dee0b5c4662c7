#include "app/model/StudioModel.h"
#include "restore/RestoreManager.h"
#include "support/LocalHttpServer.h"
#include "support/TestPaths.h"
#include "ui/shell/QtTranslations.h"

#include <QApplication>
#include <QCoroTask>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace {

// The sentences of a text that carry Latin words and not one Cyrillic letter: English that
// would reach a Russian window. Names (Restore.ipsw, JSON, a path) inside a Russian sentence pass.
QStringList latinOnlySentences(const QString &text)
{
    static const QRegularExpression sentenceEnd(QStringLiteral("(?<=[.!?])\\s+|\\n"));
    static const QRegularExpression latinWord(QStringLiteral("[A-Za-z]{3,}"));
    static const QRegularExpression cyrillic(QStringLiteral("\\p{Cyrillic}"));
    QStringList found;
    for (const QString &sentence : text.split(sentenceEnd, Qt::SkipEmptyParts)) {
        if (sentence.contains(latinWord) && !sentence.contains(cyrillic))
            found.append(sentence);
    }
    return found;
}

const QByteArray catalogue =
    QByteArray("[{'version':'10.2','build':'21S364','deviceMap':['Watch6,1'],'signed':true,'sources':"
               "[{'type':'ipsw','deviceMap':['Watch6,1'],'links':[{'url':'https://127.0.0.1/W.ipsw'}]}]}]")
        .replace('\'', '"');

} // namespace

// What the network, the files and the decoding report reaches the user in Russian: the
// project's own texts are Russian, and the platform's descriptions come through Qt's Russian
// translations.
class FailureTextsTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(QtTranslations::install(*qApp)); }

    void catalogueFailuresReadInRussian_data()
    {
        QTest::addColumn<QString>("path"); // empty: nothing listens
        QTest::addColumn<HttpResponse>("response");
        QTest::addColumn<bool>("tls");
        HttpResponse dropped = HttpResponse::ok(catalogue);
        dropped.dropAfterTotalBytes = 20;
        QTest::newRow("connection refused") << QString() << HttpResponse() << false;
        QTest::newRow("untrusted certificate")
            << QStringLiteral("/main.json") << HttpResponse::ok(catalogue) << true;
        QTest::newRow("status 500") << QStringLiteral("/main.json") << HttpResponse::withStatus(500) << false;
        QTest::newRow("connection dropped") << QStringLiteral("/main.json") << dropped << false;
        QTest::newRow("not JSON") << QStringLiteral("/main.json") << HttpResponse::ok("[{\"version\":")
                                  << false;
        QTest::newRow("not an array") << QStringLiteral("/main.json") << HttpResponse::ok("{}") << false;
        QTest::newRow("record of the wrong shape")
            << QStringLiteral("/main.json") << HttpResponse::ok("[{\"version\":1,\"build\":\"A\"}]") << false;
        QTest::newRow("size not an integer")
            << QStringLiteral("/main.json")
            << HttpResponse::ok(QByteArray(catalogue).replace("\"type\"", "\"size\":1.5,\"type\"")) << false;
    }

    void catalogueFailuresReadInRussian()
    {
        QFETCH(QString, path);
        QFETCH(HttpResponse, response);
        QFETCH(bool, tls);
        TestPaths paths;
        LocalHttpServer server(tls ? LocalHttpServer::Transport::tls : LocalHttpServer::Transport::plain);
        if (!path.isEmpty())
            server.setResponse(path, response);
        const QUrl address =
            path.isEmpty() ? QUrl(QStringLiteral("http://127.0.0.1:9/main.json")) : server.url(path);
        StudioModel model(address, {QStringLiteral("127.0.0.1")});
        QCoro::waitFor(model.refreshCatalog());
        QVERIFY(model.catalogError().has_value());
        const QString shown = *model.catalogError();
        qInfo().noquote() << shown;
        QVERIFY2(latinOnlySentences(shown).isEmpty(), qPrintable(shown));
        // The log carries the same text.
        QVERIFY(model.restoreManager()->logText().contains(shown));
    }

    // A restore tool that cannot be started: the error is the platform's own description of the
    // launch failure, kept as it is (in the user's language where the system has it), and the log
    // frames it in Russian.
    void restoreToolThatCannotStartReadsInRussian()
    {
        TestPaths paths;
        QFile tool(paths.cfgutil());
        QVERIFY(tool.open(QIODevice::WriteOnly));
        tool.write("not a program");
        tool.close();
        tool.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        StudioModel model(QUrl(QStringLiteral("http://127.0.0.1:9/")), {});
        RestoreManager *restore = model.restoreManager();
        const ConnectedWatch watch{QStringLiteral("Watch6,1"),
                                   QStringLiteral("n157sap"),
                                   QStringLiteral("Apple Watch"),
                                   QStringLiteral("DFU via Debug USB (KIS)"),
                                   QStringLiteral("0x1A2B3C"),
                                   QString(),
                                   WatchTransport::kis};
        QCoro::waitFor(restore->startRestore(std::nullopt, watch));
        QTRY_VERIFY(!restore->isRestoring());
        QVERIFY(restore->lastError().has_value());
        const QString line = QStringLiteral("Ошибка запуска: ") + *restore->lastError();
        qInfo().noquote() << line;
        QVERIFY(restore->logText().contains(line));
        QVERIFY2(latinOnlySentences(restore->logText()).isEmpty(), qPrintable(restore->logText()));
    }

    // The scan itself: English is caught, names inside Russian sentences are not.
    void scanTellsEnglishFromNames()
    {
        QCOMPARE(latinOnlySentences(QStringLiteral("Operation canceled")),
                 QStringList{QStringLiteral("Operation canceled")});
        QCOMPARE(latinOnlySentences(QStringLiteral("Готово. Connection closed before the end.")),
                 QStringList{QStringLiteral("Connection closed before the end.")});
        QVERIFY(latinOnlySentences(QStringLiteral("Каталог не является корректным JSON: незакрытый объект."))
                    .isEmpty());
        QVERIFY(
            latinOnlySentences(QStringLiteral("Прошивка готова: /tmp/Watch6,1_10.2_Restore.ipsw")).isEmpty());
    }
};

QTEST_MAIN(FailureTextsTest)
#include "FailureTextsTest.moc"
