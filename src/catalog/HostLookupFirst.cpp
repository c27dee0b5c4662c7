#include "catalog/HostLookupFirst.h"

#include <QCoreApplication>
#include <QCoroFuture>
#include <QHostAddress>
#include <QHostInfo>
#include <QNetworkProxyFactory>
#include <QNetworkReply>
#include <QPromise>
#include <QTimer>

#include <memory>

namespace {

bool goesDirectlyToANamedHost(const QUrl &url)
{
    if (url.scheme() != QStringLiteral("https") || url.host().isEmpty() || !QHostAddress(url.host()).isNull())
        return false;
    const QList<QNetworkProxy> proxies = QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(url));
    return proxies.isEmpty() || proxies.constFirst().type() == QNetworkProxy::NoProxy;
}

} // namespace

namespace HostLookupFirst {

QCoro::Task<std::optional<Failure>> failureBeforeConnecting(QUrl url, std::chrono::milliseconds timeout)
{
    if (!goesDirectlyToANamedHost(url))
        co_return std::nullopt;

    // Whichever comes first, the answer or the time-out, settles the lookup; an empty result
    // means time ran out.
    auto lookup = std::make_shared<QPromise<QHostInfo>>();
    lookup->start();
    QFuture<QHostInfo> answer = lookup->future();
    const auto settle = [lookup](const std::optional<QHostInfo> &info) {
        if (lookup->future().isFinished())
            return;
        if (info)
            lookup->addResult(*info);
        lookup->finish();
    };
    const int lookupId = QHostInfo::lookupHost(url.host(), QCoreApplication::instance(),
                                               [settle](const QHostInfo &info) { settle(info); });
    QTimer::singleShot(timeout, QCoreApplication::instance(), [settle, lookupId] {
        QHostInfo::abortHostLookup(lookupId);
        settle(std::nullopt);
    });
    co_await answer;

    if (answer.resultCount() == 0)
        co_return Failure::networkTimeout(QNetworkReply::TimeoutError);
    if (!answer.result().addresses().isEmpty())
        co_return std::nullopt;
    // Word for word what Qt's HTTP layer reports for a host without addresses.
    co_return Failure::platform(Failure::Domain::network,
                                QCoreApplication::translate("QHttp", "Host %1 not found").arg(url.host()),
                                QNetworkReply::HostNotFoundError);
}

} // namespace HostLookupFirst
