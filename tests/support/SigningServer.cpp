#include "support/SigningServer.h"

#include "support/TlsSocket.h"

#include <QHostAddress>
#include <QRegularExpression>
#include <QSslSocket>
#include <QTcpServer>

#include <utility>

namespace {

// libcurl reads these before their upper-case forms (and http_proxy only in lower case).
const char *const proxyVariables[] = {"http_proxy", "https_proxy", "no_proxy"};

// A DER sequence standing for a manifest ticket: idevicerestore copies the ticket's bytes into
// each personalised component (img4_stitch_component) without reading inside it.
QByteArray ticket()
{
    return QByteArray::fromHex("300c1604494d344d160476697274");
}

// The text of the element following <key>name</key> in an XML property list.
QByteArray plistValue(const QByteArray &plist, const char *name)
{
    const QRegularExpression pattern(QStringLiteral("<key>%1</key>\\s*<(\\w+)>([^<]*)</\\1>")
                                         .arg(QRegularExpression::escape(QLatin1String(name))));
    return pattern.match(QString::fromUtf8(plist)).captured(2).toUtf8();
}

qint64 contentLength(const QByteArray &head)
{
    for (const QByteArray &line : head.split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed().compare("content-length", Qt::CaseInsensitive) == 0)
            return line.mid(colon + 1).trimmed().toLongLong();
    }
    return 0;
}

} // namespace

// Reads one request per connection: a CONNECT becomes a TLS tunnel whose inner request is read
// next; any other request is handed to the server with its body, to be answered on its socket.
class SigningServer::Listener final : public QTcpServer {
public:
    explicit Listener(SigningServer *server) : m_server(server)
    {
        if (!listen(QHostAddress::LocalHost))
            qFatal("The signing-server stand-in could not listen: %s", qPrintable(errorString()));
    }

protected:
    void incomingConnection(qintptr descriptor) override
    {
        QSslSocket *socket =
            adoptTlsSocket(this, descriptor, "signing-server-cert.pem", "signing-server-key.pem");
        if (!socket)
            return;
        connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QSslSocket::readyRead, this, [this, socket] { read(socket); });
    }

private:
    void read(QSslSocket *socket)
    {
        const QByteArray received = socket->property("received").toByteArray() + socket->readAll();
        const qsizetype end = received.indexOf("\r\n\r\n");
        if (end < 0 || received.size() - (end + 4) < contentLength(received.left(end))) {
            socket->setProperty("received", received);
            return;
        }
        socket->setProperty("received", QByteArray());
        const QByteArray head = received.left(end);
        if (head.startsWith("CONNECT ")) {
            socket->write("HTTP/1.1 200 Connection established\r\n\r\n");
            socket->startServerEncryption();
            return;
        }
        m_server->received(socket, received.mid(end + 4, contentLength(head)));
    }

    SigningServer *m_server;
};

SigningServer::SigningServer(Answer answer) : m_listener(std::make_unique<Listener>(this)), m_answer(answer)
{
    const QByteArray proxy = "http://127.0.0.1:" + QByteArray::number(m_listener->serverPort());
    for (const char *name : proxyVariables)
        m_savedEnvironment.append({name, qgetenv(name)});
    qputenv("http_proxy", proxy);
    qputenv("https_proxy", proxy);
    qputenv("no_proxy", "127.0.0.1,localhost");
}

SigningServer::~SigningServer()
{
    for (const auto &[name, value] : m_savedEnvironment) {
        if (value.isEmpty())
            qunsetenv(name.constData());
        else
            qputenv(name.constData(), value);
    }
}

void SigningServer::holdAnswers(bool hold)
{
    m_holding = hold;
    if (hold)
        return;
    for (const QPointer<QSslSocket> &socket : std::exchange(m_waiting, {})) {
        if (socket)
            answer(socket);
    }
}

void SigningServer::received(QSslSocket *socket, const QByteArray &body)
{
    Request request;
    request.ecid = plistValue(body, "ApECID").toULongLong();
    request.apNonce = QByteArray::fromBase64(plistValue(body, "ApNonce").simplified());
    request.versionInfo = plistValue(body, "@VersionInfo");
    m_requests.append(request);
    if (m_holding)
        m_waiting.append(socket);
    else
        answer(socket);
}

void SigningServer::answer(QSslSocket *socket) const
{
    // A ticket, or the refusal of a device not eligible for the build.
    const QByteArray body =
        m_answer == Answer::tickets
            ? "STATUS=0&MESSAGE=SUCCESS&REQUEST_STRING=<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
              "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
              "<plist version=\"1.0\"><dict><key>ApImg4Ticket</key><data>" +
                  ticket().toBase64() + "</data></dict></plist>\n"
            : QByteArray("STATUS=94&MESSAGE=This device isn't eligible for the requested build.");
    socket->write("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nConnection: close\r\n"
                  "Content-Length: " +
                  QByteArray::number(body.size()) + "\r\n\r\n" + body);
    socket->disconnectFromHost();
}
