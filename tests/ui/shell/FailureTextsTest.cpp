#include "app/model/StudioModel.h"
#include "restore/RestoreManager.h"
#include "support/LocalHttpServer.h"
#include "support/TestPaths.h"
#include "ui/UiTestSupport.h"
#include "ui/shell/QtTranslations.h"

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

const QByteArray catalogue = catalogueOf({"Watch6,1"});

} // namespace

// What the network, the files and the decoding report reaches the user in Russian: the
// project's own texts are Russian, and the platform's descriptions come through Qt's Russian
// translations.
class FailureTextsTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(QtTranslations::install(*qApp));
        // The scan itself catches English and lets names inside Russian sentences pass.
        QCOMPARE(latinOnlySentences(QStringLiteral("Готово. Connection closed before the end.")),
                 QStringList{QStringLiteral("Connection closed before the end.")});
        QVERIFY(
            latinOnlySentences(QStringLiteral("Прошивка готова: /tmp/Watch6,1_10.2_Restore.ipsw")).isEmpty());
    }

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
        // The parser's description comes from the platform; the decoder's own descriptions of records
        // of the wrong shape are the project's Russian texts, checked where the catalogue is decoded.
        QTest::newRow("not JSON") << QStringLiteral("/main.json") << HttpResponse::ok("[{\"version\":")
                                  << false;
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
        std::unique_ptr<StudioModel> model(offlineModel());
        RestoreManager *restore = model->restoreManager();
        QCoro::waitFor(restore->startRestore(std::nullopt, kisWatch));
        QTRY_VERIFY(!restore->isRestoring());
        QVERIFY(restore->lastError().has_value());
        const QString line = QStringLiteral("Ошибка запуска: ") + *restore->lastError();
        qInfo().noquote() << line;
        QVERIFY(restore->logText().contains(line));
        QVERIFY2(latinOnlySentences(restore->logText()).isEmpty(), qPrintable(restore->logText()));
    }
};

QTEST_MAIN(FailureTextsTest)
#include "FailureTextsTest.moc"
