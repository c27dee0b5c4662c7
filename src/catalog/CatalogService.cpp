#include "catalog/CatalogService.h"

#include "catalog/AppleDBDecoder.h"
#include "catalog/FirmwareReduction.h"
#include "catalog/HostLookupFirst.h"
#include "tools/DeviceTable.h"

#include <QCoreApplication>
#include <QCoroFuture>
#include <QCoroNetworkReply>
#include <QHash>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QSet>
#include <QtConcurrent/QtConcurrentRun>

namespace {

// Marks a reply that the service abandoned on its way out: its cancellation is the caller's
// doing, whereas any other cancellation of a catalogue request is the transfer time-out firing.
const char *const abandonedProperty = "corvalinAbandoned";

// A GET that sets exactly one header of its own, the User-Agent. Qt's HTTP/1.1 layer still
// adds what every request carries (Host, Connection, Accept-Encoding, Accept-Language), much as
// URLSession does; no Accept header is sent. HTTP/2 is off so the request goes out exactly so,
// without an upgrade negotiation.
QNetworkRequest catalogRequest(const QUrl &url, std::chrono::milliseconds transferTimeout)
{
    QNetworkRequest request(url);
    request.setTransferTimeout(int(transferTimeout.count()));
    request.setRawHeader("User-Agent", "Corvalin-Studio/1.0");
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    return request;
}

// Network and proxy errors come before the content range; an unknown scheme and an unparsable
// answer are failures of the transfer too. The rest restate an HTTP status.
bool isTransferFailure(QNetworkReply::NetworkError error)
{
    return (error != QNetworkReply::NoError && error < QNetworkReply::ContentAccessDenied) ||
           error == QNetworkReply::ProtocolUnknownError || error == QNetworkReply::ProtocolFailure;
}

// Qt ends a transfer whose time-out fires as if it had been cancelled and describes it so; the
// user is told that the request ran out of time instead.
Failure transferFailure(const QNetworkReply &reply)
{
    const QNetworkReply::NetworkError error = reply.error();
    const bool timedOut =
        error == QNetworkReply::TimeoutError ||
        (error == QNetworkReply::OperationCanceledError && !reply.property(abandonedProperty).toBool());
    if (timedOut)
        return Failure::networkTimeout(QNetworkReply::TimeoutError);
    return Failure::platform(Failure::Domain::network, reply.errorString(), error);
}

} // namespace

CatalogService::CatalogService(QUrl catalogURL, QStringList allowedHosts, QObject *parent)
    : QObject(parent), m_catalogURL(std::move(catalogURL)), m_allowedHosts(std::move(allowedHosts)),
      m_network(new QNetworkAccessManager(this))
{}

CatalogService::~CatalogService()
{
    // A reply destroyed with the network manager never reports that it finished, so its caller
    // would wait forever; aborted now, the caller resumes with the cancellation instead.
    const QList<QNetworkReply *> replies = m_network->findChildren<QNetworkReply *>();
    for (QNetworkReply *reply : replies) {
        reply->setProperty(abandonedProperty, true);
        reply->abort();
    }
}

QUrl CatalogService::defaultCatalogURL()
{
    return QUrl(QStringLiteral("https://api.appledb.dev/ios/watchOS/main.json"));
}

QStringList CatalogService::defaultAllowedHosts()
{
    return {QStringLiteral("updates.cdn-apple.com"), QStringLiteral("secure-appldnld.apple.com"),
            QStringLiteral("appldnld.apple.com"), QStringLiteral("updates-http.cdn-apple.com")};
}

QCoro::Task<Result<QList<WatchFirmware>>> CatalogService::load()
{
    // Everything needed later is copied first: the service is not touched after the transfer,
    // so a load still running when the service goes away touches nothing of it.
    const QSet<QString> allowedHosts(m_allowedHosts.cbegin(), m_allowedHosts.cend());
    const QPointer<CatalogService> self(this);
    const QUrl url = m_catalogURL;
    const std::chrono::milliseconds transferTimeout = m_transferTimeout;
    if (std::optional<Failure> failure =
            co_await HostLookupFirst::failureBeforeConnecting(url, transferTimeout))
        co_return *std::move(failure);
    // Gone while the name was looked up: abandoned as a running transfer would be.
    if (!self)
        co_return Failure::platform(
            Failure::Domain::network,
            QCoreApplication::translate("QNetworkReplyHttpImpl", "Operation canceled"),
            QNetworkReply::OperationCanceledError);
    QNetworkReply *reply = self->m_network->get(catalogRequest(url, transferTimeout));
    co_await reply;
    reply->deleteLater();

    // Qt also reports a completed HTTP answer with a status other than 2xx as an error; only a
    // failed transfer (connection, TLS, time-out, redirect loop) is handed on.
    const QNetworkReply::NetworkError error = reply->error();
    if (isTransferFailure(error))
        co_return transferFailure(*reply);
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid() || status.toInt() != 200)
        co_return StudioError::invalidCatalog(); // not an HTTP response, or not exactly 200
    if (error != QNetworkReply::NoError)
        co_return Failure::platform(Failure::Domain::network, reply->errorString(), error);

    // The JSON work runs on the thread pool; each wait resumes on this (the caller's) thread.
    QFuture<Result<QList<AppleDBFirmware>>> decoding =
        QtConcurrent::run([body = reply->readAll()] { return AppleDBDecoder::decode(body); });
    Result<QList<AppleDBFirmware>> records = co_await decoding;
    if (!records)
        co_return records.failure();

    // Names are asked for only once the catalogue is known to be usable. A tool that cannot run
    // leaves the table empty, never fails the load.
    const QHash<QString, QString> names = FirmwareReduction::nameTable(co_await DeviceTable::fetch());

    QFuture<QList<WatchFirmware>> reduction =
        QtConcurrent::run([records = std::move(records).value(), names, allowedHosts] {
            return FirmwareReduction::buildFirmwareList(records, names, allowedHosts);
        });
    co_return co_await reduction;
}
