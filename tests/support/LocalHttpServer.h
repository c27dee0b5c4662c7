#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>

#include <atomic>
#include <memory>
#include <optional>

class QTcpServer;
class QTcpSocket;

using HttpHeaders = QList<std::pair<QByteArray, QByteArray>>;

// The first value of the header `name`, in any case; empty when there is none.
inline QByteArray headerValue(const HttpHeaders &headers, const QByteArray &name)
{
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

// How the server answers one path.
struct HttpResponse {
    int status = 200;
    QByteArray body;
    // Serve this file's bytes instead of `body` (for large files), streamed in chunks.
    QString bodyFile;
    HttpHeaders headers;
    // Leave out Content-Length and end the body by closing the connection.
    bool omitContentLength = false;
    // Send only this many body bytes, then keep the connection open without sending more.
    std::optional<qint64> stallAfterBytes;
    // Answer "Range: bytes=A-B" (or "A-") with 206 and that part, unless an If-Range names
    // another validator than this response's ETag or Last-Modified header.
    bool acceptRanges = false;
    // Once this many body bytes of the path have been sent over all its connections (since the
    // response was set), every connection of it closes early, in order (an interrupted transfer).
    std::optional<qint64> dropAfterTotalBytes;
    // Limits each connection to this many body bytes a second (0: as fast as possible).
    qint64 bytesPerSecond = 0;

    static HttpResponse ok(const QByteArray &body) { return withStatus(200, body); }
    static HttpResponse withStatus(int status, const QByteArray &body = {})
    {
        HttpResponse response;
        response.status = status;
        response.body = body;
        return response;
    }
    static HttpResponse redirect(const QString &location)
    {
        HttpResponse response = withStatus(302);
        response.headers = {{"Location", location.toUtf8()}};
        return response;
    }
};

// One request as the server received it.
struct HttpRequest {
    QByteArray method;
    QByteArray path;     // with the query, as sent
    HttpHeaders headers; // names lower-cased, in arrival order

    QByteArray header(const QByteArray &name) const { return headerValue(headers, name); }
};

// A real HTTP/1.1 server on 127.0.0.1 for tests and benchmarks: answers each request by its
// path from a table of canned responses (404 for unknown paths) and records every request.
// Every connection is closed after one response.
class LocalHttpServer final : public QObject {
    Q_OBJECT

public:
    enum class Transport { plain, tls };

    // With TLS the server presents a certificate for 127.0.0.1 that trustTestCertificate()
    // makes every client in the process accept.
    explicit LocalHttpServer(Transport transport = Transport::plain, QObject *parent = nullptr);
    ~LocalHttpServer() override;

    void setResponse(const QString &path, const HttpResponse &response);
    // Adds the test certificate to the process's default TLS configuration.
    static void trustTestCertificate();
    // The certificate's PEM file, for clients outside the process (curl --cacert).
    static QString testCertificatePath();

    // http(s)://127.0.0.1:PORT + path
    QUrl url(const QString &path) const;
    const QList<HttpRequest> &requests() const { return m_requests; }
    // Body bytes handed to sockets so far, over all connections; readable from any thread.
    qint64 bodyBytesSent() const { return m_bodyBytesSent; }

private:
    void handle(QTcpSocket *socket);
    void respond(QTcpSocket *socket, const HttpRequest &request);

    QTcpServer *m_server;
    Transport m_transport;
    QHash<QByteArray, HttpResponse> m_responses;
    QList<HttpRequest> m_requests;
    QHash<QByteArray, std::shared_ptr<qint64>> m_sentPerPath;
    std::atomic<qint64> m_bodyBytesSent = 0;
};
