#pragma once

#include "app/records/Result.h"
#include "app/records/WatchFirmware.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QUrl>

#include <chrono>

class QNetworkAccessManager;

// Fetches the AppleDB watchOS catalogue and reduces it to one restorable full image per
// watch model, offering only links on the allowed download hosts.
class CatalogService final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CatalogService)

public:
    CatalogService(QUrl catalogURL, QStringList allowedHosts, QObject *parent = nullptr);
    ~CatalogService() override;

    // The public AppleDB endpoint and Apple's download hosts the application uses.
    static QUrl defaultCatalogURL();
    static QStringList defaultAllowedHosts();

    const QUrl &catalogURL() const { return m_catalogURL; }
    const QStringList &allowedHosts() const { return m_allowedHosts; }
    // How long a request may go without receiving anything; 30 s unless changed.
    void setTransferTimeout(std::chrono::milliseconds timeout) { m_transferTimeout = timeout; }

    // The firmware list in model order, or the failure (transport errors unchanged).
    QCoro::Task<Result<QList<WatchFirmware>>> load();

private:
    QUrl m_catalogURL;
    QStringList m_allowedHosts;
    QNetworkAccessManager *m_network = nullptr;
    std::chrono::milliseconds m_transferTimeout{30000};
};
