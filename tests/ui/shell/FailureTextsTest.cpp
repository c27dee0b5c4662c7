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
        // The scan itself catches English (names inside Russian sentences pass: the JSON failure has one).
        QCOMPARE(latinOnlySentences(QStringLiteral("Готово. Connection closed before the end.")),
                 QStringList{QStringLiteral("Connection closed before the end.")});
    }

    void catalogueFailuresReadInRussian()
    {
        HttpResponse dropped = HttpResponse::ok(catalogue);
        dropped.dropAfterTotalBytes = 20;
        // The parser's description comes from the platform; the decoder's own descriptions of records
        // of the wrong shape are the project's Russian texts, checked where the catalogue is decoded.
        const std::vector<std::tuple<const char *, std::optional<HttpResponse>, LocalHttpServer::Transport>>
            cases{
                {"connection refused", std::nullopt, LocalHttpServer::Transport::plain},
                {"untrusted certificate", HttpResponse::ok(catalogue), LocalHttpServer::Transport::tls},
                {"status 500", HttpResponse::withStatus(500), LocalHttpServer::Transport::plain},
                {"connection dropped", dropped, LocalHttpServer::Transport::plain},
                {"not JSON", HttpResponse::ok("[{\"version\":"), LocalHttpServer::Transport::plain},
            };
        for (const auto &[failure, response, transport] : cases) {
            TestPaths paths;
            LocalHttpServer server(transport);
            const QString path = QStringLiteral("/main.json");
            if (response)
                server.setResponse(path, *response);
            // Nothing listens at port 9.
            StudioModel model(response ? server.url(path)
                                       : QUrl(QStringLiteral("http://127.0.0.1:9/main.json")),
                              {QStringLiteral("127.0.0.1")});
            QCoro::waitFor(model.refreshCatalog());
            QVERIFY2(model.catalogError().has_value(), failure);
            const QString shown = *model.catalogError();
            qInfo().noquote() << failure << shown;
            QVERIFY2(latinOnlySentences(shown).isEmpty(), qPrintable(shown));
        }
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
