#include "support/LocalHttpServer.h"

#include "support/TlsSocket.h"

#include <QElapsedTimer>
#include <QFile>
#include <QHostAddress>
#include <QPointer>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <memory>

namespace {

constexpr qint64 chunkSize = 256 * 1024;

// Streams one response body to its socket, a chunk whenever the previous one has been written,
// so even a large file never sits in memory whole.
class BodyWriter final : public QObject {
public:
    // Sends `count` bytes of the body starting at `first`.
    BodyWriter(QTcpSocket *socket, const HttpResponse &response, qint64 first, qint64 count,
               std::atomic<qint64> &sentCounter, std::shared_ptr<qint64> pathSent)
        : QObject(socket), m_socket(socket), m_response(response), m_first(first), m_limit(count),
          m_sentCounter(sentCounter), m_pathSent(std::move(pathSent))
    {
        if (response.stallAfterBytes)
            m_limit = qMin(m_limit, *response.stallAfterBytes);
        if (!response.bodyFile.isEmpty()) {
            m_file.setFileName(response.bodyFile);
            m_file.open(QIODevice::ReadOnly);
            m_file.seek(first);
        }
        m_clock.start();
        connect(socket, &QTcpSocket::bytesWritten, this, &BodyWriter::writeMore);
        // A TLS socket reports plain bytes as written once they are encrypted, long before the
        // network takes them: without waiting for the encrypted backlog too, a large range would
        // be encrypted into memory whole before its first byte left, which no real server does.
        if (auto *tls = qobject_cast<QSslSocket *>(socket))
            connect(tls, &QSslSocket::encryptedBytesWritten, this, &BodyWriter::writeMore);
    }

    qint64 backlog() const
    {
        auto *tls = qobject_cast<QSslSocket *>(m_socket.data());
        return m_socket->bytesToWrite() + (tls ? tls->encryptedBytesToWrite() : 0);
    }

    void writeMore()
    {
        if (!m_socket || m_finished || backlog() > chunkSize)
            return;
        if (m_sent < m_limit && !m_closeEarly) {
            qint64 length = qMin(chunkSize, m_limit - m_sent);
            if (m_response.dropAfterTotalBytes) {
                length = qMin(length, *m_response.dropAfterTotalBytes - *m_pathSent);
                m_closeEarly = length <= 0;
            }
            if (m_response.bytesPerSecond > 0) {
                const qint64 allowed = m_response.bytesPerSecond * m_clock.elapsed() / 1000 - m_sent;
                if (allowed <= 0) {
                    if (!m_waiting) {
                        m_waiting = true;
                        QTimer::singleShot(5, this, [this] {
                            m_waiting = false;
                            writeMore();
                        });
                    }
                    return;
                }
                length = qMin(length, allowed);
            }
            const QByteArray chunk =
                m_file.isOpen() ? m_file.read(length) : m_response.body.mid(m_first + m_sent, length);
            if (!chunk.isEmpty()) {
                *m_pathSent += chunk.size();
                m_sent += chunk.size();
                m_sentCounter += chunk.size();
                m_socket->write(chunk);
                return;
            }
        }
        if (backlog() > 0)
            return;
        m_finished = true;
        // Later: a TLS socket must not be torn down inside its own signal. An early close is
        // in order, so the client has every byte sent before the end arrives early.
        if (m_closeEarly)
            QMetaObject::invokeMethod(m_socket, &QTcpSocket::disconnectFromHost, Qt::QueuedConnection);
        else if (!m_response.stallAfterBytes) // a stalled connection stays open and silent
            m_socket->disconnectFromHost();
    }

private:
    QPointer<QTcpSocket> m_socket;
    HttpResponse m_response;
    QFile m_file;
    qint64 m_first;
    qint64 m_limit;
    std::atomic<qint64> &m_sentCounter;
    std::shared_ptr<qint64> m_pathSent;
    QElapsedTimer m_clock;
    qint64 m_sent = 0;
    bool m_finished = false;
    bool m_closeEarly = false;
    bool m_waiting = false;
};

// The one range "bytes=A-B" or "bytes=A-" asked for, clipped to the body; nothing when the
// request asks for none, several, or one outside the body.
std::optional<std::pair<qint64, qint64>> requestedRange(const QByteArray &value, qint64 total)
{
    if (!value.startsWith("bytes=") || value.contains(','))
        return std::nullopt;
    const QList<QByteArray> bounds = value.mid(6).split('-');
    bool firstOk = false;
    const qint64 first = bounds.value(0).toLongLong(&firstOk);
    bool lastOk = false;
    qint64 last = bounds.value(1).toLongLong(&lastOk);
    if (!lastOk || last >= total)
        last = total - 1;
    if (!firstOk || first > last)
        return std::nullopt;
    return std::pair{first, last};
}

// Accepts every connection as TLS with the certificate for 127.0.0.1.
class TlsServer final : public QTcpServer {
public:
    using QTcpServer::QTcpServer;

protected:
    void incomingConnection(qintptr descriptor) override
    {
        QSslSocket *socket = adoptTlsSocket(this, descriptor, "localhost-cert.pem", "localhost-key.pem");
        if (!socket)
            return;
        socket->startServerEncryption();
        addPendingConnection(socket);
    }
};

} // namespace

QString LocalHttpServer::testCertificatePath()
{
    return QStringLiteral(CORVALIN_SUPPORT_DATA "/localhost-cert.pem");
}

void LocalHttpServer::trustTestCertificate()
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.addCaCertificate(QSslCertificate(supportData("localhost-cert.pem")));
    QSslConfiguration::setDefaultConfiguration(configuration);
}

LocalHttpServer::LocalHttpServer(Transport transport, QObject *parent)
    : QObject(parent), m_server(transport == Transport::tls ? new TlsServer(this) : new QTcpServer(this)),
      m_transport(transport)
{
    connect(m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = m_server->nextPendingConnection()) {
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { handle(socket); });
        }
    });
    if (!m_server->listen(QHostAddress::LocalHost))
        qFatal("The test HTTP server could not listen: %s", qPrintable(m_server->errorString()));
}

LocalHttpServer::~LocalHttpServer() = default;

void LocalHttpServer::setResponse(const QString &path, const HttpResponse &response)
{
    m_responses.insert(path.toUtf8(), response);
    m_sentPerPath.remove(path.toUtf8());
}

QUrl LocalHttpServer::url(const QString &path) const
{
    const QString scheme = m_transport == Transport::tls ? QStringLiteral("https") : QStringLiteral("http");
    return QUrl(QStringLiteral("%1://127.0.0.1:%2%3").arg(scheme).arg(m_server->serverPort()).arg(path));
}

void LocalHttpServer::handle(QTcpSocket *socket)
{
    // One request per connection; wait until its head is complete.
    if (socket->property("answered").toBool())
        return;
    QByteArray head = socket->property("head").toByteArray() + socket->readAll();
    const qsizetype end = head.indexOf("\r\n\r\n");
    if (end < 0) {
        socket->setProperty("head", head);
        return;
    }
    socket->setProperty("answered", true);

    const QList<QByteArray> lines = head.left(end).split('\n');
    HttpRequest request;
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    request.method = requestLine.value(0);
    request.path = requestLine.value(1);
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines.at(i).indexOf(':');
        if (colon > 0)
            request.headers.append(
                {lines.at(i).left(colon).trimmed().toLower(), lines.at(i).mid(colon + 1).trimmed()});
    }
    m_requests.append(request);
    respond(socket, request);
}

void LocalHttpServer::respond(QTcpSocket *socket, const HttpRequest &request)
{
    const QByteArray path =
        request.path.left(request.path.indexOf('?') < 0 ? request.path.size() : request.path.indexOf('?'));
    const HttpResponse response = m_responses.value(path, HttpResponse::withStatus(404, "not found"));
    const qint64 total = response.bodyFile.isEmpty() ? response.body.size() : QFile(response.bodyFile).size();

    qint64 first = 0;
    qint64 count = total;
    int status = response.status;
    QByteArray head;
    if (response.acceptRanges && status == 200) {
        head += "Accept-Ranges: bytes\r\n";
        const QByteArray guard = request.header("if-range");
        const bool current = guard.isEmpty() || guard == headerValue(response.headers, "etag") ||
                             guard == headerValue(response.headers, "last-modified");
        const auto range = requestedRange(request.header("range"), total);
        if (range && current) {
            status = 206;
            first = range->first;
            count = range->second - range->first + 1;
            head += "Content-Range: bytes " + QByteArray::number(range->first) + '-' +
                    QByteArray::number(range->second) + '/' + QByteArray::number(total) + "\r\n";
        }
    }
    // Clients go by the code alone; the reason phrase is free text.
    head.prepend("HTTP/1.1 " + QByteArray::number(status) + " Status\r\nConnection: close\r\n");
    if (!response.omitContentLength)
        head += "Content-Length: " + QByteArray::number(count) + "\r\n";
    for (const auto &[name, value] : response.headers)
        head += name + ": " + value + "\r\n";
    head += "\r\n";
    socket->write(head);

    std::shared_ptr<qint64> &pathSent = m_sentPerPath[path];
    if (!pathSent)
        pathSent = std::make_shared<qint64>(0);
    auto *writer = new BodyWriter(socket, response, first, request.method == "HEAD" ? 0 : count,
                                  m_bodyBytesSent, pathSent);
    writer->writeMore();
}
