#include "support/LocalHttpServer.h"

#include <QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTest>

// The other tests lean on this server for every network case, so its canned behaviours must hold.
class LocalHttpServerTest : public QObject {
    Q_OBJECT

    QNetworkReply *get(QNetworkAccessManager &network, const QUrl &url)
    {
        QNetworkRequest request(url);
        request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
        return network.get(request);
    }

private slots:
    void servesBodiesStatusesAndRecordsRequests()
    {
        LocalHttpServer server;
        server.setResponse(QStringLiteral("/a"), HttpResponse::ok("hello"));
        QNetworkAccessManager network;

        std::unique_ptr<QNetworkReply> reply(get(network, server.url(QStringLiteral("/a?x=1"))));
        QCoro::waitFor(qCoro(reply.get()).waitForFinished());
        QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 200);
        QCOMPARE(reply->readAll(), QByteArray("hello"));

        reply.reset(get(network, server.url(QStringLiteral("/missing"))));
        QCoro::waitFor(qCoro(reply.get()).waitForFinished());
        QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 404);

        QCOMPARE(server.requests().size(), 2);
        QCOMPARE(server.requests().first().path, QByteArray("/a?x=1"));
    }

    void servesOverTlsToClientsThatTrustTheTestCertificate()
    {
        LocalHttpServer::trustTestCertificate();
        LocalHttpServer server(LocalHttpServer::Transport::tls);
        server.setResponse(QStringLiteral("/secure"), HttpResponse::ok(QByteArray(300000, 's')));
        QNetworkAccessManager network;
        QVERIFY(server.url(QStringLiteral("/secure")).scheme() == QStringLiteral("https"));

        std::unique_ptr<QNetworkReply> reply(get(network, server.url(QStringLiteral("/secure"))));
        QCoro::waitFor(qCoro(reply.get()).waitForFinished());
        QCOMPARE(reply->error(), QNetworkReply::NoError);
        QCOMPARE(reply->readAll().size(), 300000);
    }

    void bodyWithoutLengthAndInterruptedBody()
    {
        LocalHttpServer server;
        HttpResponse unsized = HttpResponse::ok(QByteArray(100000, 'x'));
        unsized.omitContentLength = true;
        server.setResponse(QStringLiteral("/unsized"), unsized);
        HttpResponse broken = HttpResponse::ok(QByteArray(100000, 'y'));
        broken.abortAfterBytes = 1000;
        server.setResponse(QStringLiteral("/broken"), broken);
        QNetworkAccessManager network;

        std::unique_ptr<QNetworkReply> reply(get(network, server.url(QStringLiteral("/unsized"))));
        QCoro::waitFor(qCoro(reply.get()).waitForFinished());
        QCOMPARE(reply->error(), QNetworkReply::NoError);
        QCOMPARE(reply->readAll().size(), 100000);

        reply.reset(get(network, server.url(QStringLiteral("/broken"))));
        QCoro::waitFor(qCoro(reply.get()).waitForFinished());
        QVERIFY(reply->error() != QNetworkReply::NoError);
    }
};

QTEST_GUILESS_MAIN(LocalHttpServerTest)
#include "LocalHttpServerTest.moc"
