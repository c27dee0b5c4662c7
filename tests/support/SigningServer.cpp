#include "support/SigningServer.h"

#include <QRegularExpression>

namespace {

// libtatsu's host names for the signing server, tried in this order over https and then http.
const char *const signingHosts[] = {"gs.apple.com", "gs.apple.com.akadns.net", "gs.apple.com.v.aaplimg.com"};
const char *const proxyVariables[] = {"http_proxy", "https_proxy", "HTTPS_PROXY", "no_proxy", "NO_PROXY"};

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

} // namespace

SigningServer::SigningServer(Answer answer)
{
    const QByteArray proxy = m_server.url(QString()).toString().toUtf8();
    for (const char *name : proxyVariables)
        m_savedEnvironment.append({name, qgetenv(name)});
    qputenv("http_proxy", proxy);
    qputenv("https_proxy", proxy);
    qputenv("HTTPS_PROXY", proxy);
    qputenv("no_proxy", "127.0.0.1,localhost");
    qputenv("NO_PROXY", "127.0.0.1,localhost");
    for (const char *host : signingHosts) {
        // libcurl asks for a tunnel to port 443 first; any answer but 200 refuses it at once.
        m_server.setResponse(QLatin1String(host) + QStringLiteral(":443"),
                             HttpResponse::withStatus(403, "no tunnels here"));
    }
    setAnswer(answer);
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

void SigningServer::setAnswer(Answer answer)
{
    const QByteArray body = answer == Answer::tickets   ? ticketAnswer()
                            : answer == Answer::refusal ? refusalAnswer()
                                                        : QByteArray();
    for (const char *host : signingHosts) {
        m_server.setResponse(QStringLiteral("http://%1/TSS/controller").arg(QLatin1String(host)),
                             HttpResponse::ok(body));
    }
}

QList<SigningServer::Request> SigningServer::requests() const
{
    QList<Request> requests;
    for (const HttpRequest &received : m_server.requests()) {
        if (received.method != "POST")
            continue;
        Request request;
        request.plist = received.body;
        request.ecid = plistValue(received.body, "ApECID").toULongLong();
        request.chipId = plistValue(received.body, "ApChipID").toULongLong();
        request.boardId = plistValue(received.body, "ApBoardID").toULongLong();
        request.apNonce = QByteArray::fromBase64(plistValue(received.body, "ApNonce").simplified());
        requests.append(request);
    }
    return requests;
}

QByteArray SigningServer::ticketAnswer()
{
    return "STATUS=0&MESSAGE=SUCCESS&REQUEST_STRING=<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\"><dict><key>ApImg4Ticket</key><data>" +
           ticket().toBase64() + "</data></dict></plist>\n";
}

QByteArray SigningServer::refusalAnswer()
{
    return "STATUS=94&MESSAGE=This device isn't eligible for the requested build.";
}
