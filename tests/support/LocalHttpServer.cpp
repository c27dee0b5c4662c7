#include "support/LocalHttpServer.h"

#include <QFile>
#include <QHostAddress>
#include <QPointer>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>

namespace {

constexpr qint64 chunkSize = 256 * 1024;

QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 200: return "OK";
    case 302: return "Found";
    case 304: return "Not Modified";
    case 404: return "Not Found";
    case 500: return "Internal Server Error";
    default: return "Status";
    }
}

// Streams one response body to its socket, a chunk whenever the previous one has been written,
// so even a large file never sits in memory whole.
class BodyWriter final : public QObject {
public:
    BodyWriter(QTcpSocket *socket, const HttpResponse &response, qint64 total)
        : QObject(socket), m_socket(socket), m_response(response), m_limit(total)
    {
        if (response.stallAfterBytes)
            m_limit = qMin(m_limit, *response.stallAfterBytes);
        if (response.abortAfterBytes)
            m_limit = qMin(m_limit, *response.abortAfterBytes);
        if (!response.bodyFile.isEmpty()) {
            m_file.setFileName(response.bodyFile);
            m_file.open(QIODevice::ReadOnly);
        }
        connect(socket, &QTcpSocket::bytesWritten, this, &BodyWriter::writeMore);
    }

    void writeMore()
    {
        if (!m_socket || m_finished || m_socket->bytesToWrite() > chunkSize)
            return;
        if (m_sent < m_limit) {
            const qint64 length = qMin(chunkSize, m_limit - m_sent);
            const QByteArray chunk =
                m_file.isOpen() ? m_file.read(length) : m_response.body.mid(m_sent, length);
            if (!chunk.isEmpty()) {
                m_sent += chunk.size();
                m_socket->write(chunk);
                return;
            }
        }
        if (m_socket->bytesToWrite() > 0)
            return;
        m_finished = true;
        if (m_response.stallAfterBytes && !m_response.abortAfterBytes)
            return; // keep the connection open and silent
        if (m_response.abortAfterBytes)
            m_socket->abort();
        else
            m_socket->disconnectFromHost();
    }

private:
    QPointer<QTcpSocket> m_socket;
    HttpResponse m_response;
    QFile m_file;
    qint64 m_limit;
    qint64 m_sent = 0;
    bool m_finished = false;
};

QByteArray readTestData(const char *name)
{
    QFile file(QStringLiteral(CORVALIN_SUPPORT_DATA "/") + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("Missing test data %s", name);
    return file.readAll();
}

// Accepts every connection as TLS with the certificate for 127.0.0.1.
class TlsServer final : public QTcpServer {
public:
    using QTcpServer::QTcpServer;

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto *socket = new QSslSocket(this);
        if (!socket->setSocketDescriptor(descriptor)) {
            delete socket;
            return;
        }
        socket->setLocalCertificate(QSslCertificate(readTestData("localhost-cert.pem")));
        socket->setPrivateKey(QSslKey(readTestData("localhost-key.pem"), QSsl::Rsa));
        socket->startServerEncryption();
        addPendingConnection(socket);
    }
};

} // namespace

void LocalHttpServer::trustTestCertificate()
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.addCaCertificate(QSslCertificate(readTestData("localhost-cert.pem")));
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
    emit requestReceived();
}

void LocalHttpServer::respond(QTcpSocket *socket, const HttpRequest &request)
{
    const QByteArray path =
        request.path.left(request.path.indexOf('?') < 0 ? request.path.size() : request.path.indexOf('?'));
    const HttpResponse response = m_responses.value(path, HttpResponse::withStatus(404, "not found"));
    const qint64 total = response.bodyFile.isEmpty() ? response.body.size() : QFile(response.bodyFile).size();

    QByteArray head = "HTTP/1.1 " + QByteArray::number(response.status) + ' ' +
                      reasonPhrase(response.status) + "\r\nConnection: close\r\n";
    if (!response.omitContentLength)
        head += "Content-Length: " + QByteArray::number(total) + "\r\n";
    for (const auto &[name, value] : response.headers)
        head += name + ": " + value + "\r\n";
    head += "\r\n";
    socket->write(head);

    auto *writer = new BodyWriter(socket, response, request.method == "HEAD" ? 0 : total);
    writer->writeMore();
}
