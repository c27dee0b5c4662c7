#include "catalog/CatalogService.h"

CatalogService::CatalogService(QUrl catalogURL, QStringList allowedHosts, QObject *parent)
    : QObject(parent), m_catalogURL(std::move(catalogURL)), m_allowedHosts(std::move(allowedHosts))
{}

CatalogService::~CatalogService() = default;

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
    co_return Result<QList<WatchFirmware>>(StudioError::invalidCatalog());
}
