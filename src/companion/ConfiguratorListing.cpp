#include "companion/ConfiguratorListing.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace ConfiguratorListing {

QByteArray document(const std::optional<IrecoveryQuery::Device> &device)
{
    QJsonArray ecids;
    QJsonObject devices;
    if (device) {
        QJsonObject entry{{QStringLiteral("ECID"), device->ecid}};
        if (device->productType)
            entry.insert(QStringLiteral("deviceType"), *device->productType);
        ecids.append(device->ecid);
        devices.insert(device->ecid, entry);
    }
    const QJsonObject top{{QStringLiteral("Command"), QStringLiteral("list")},
                          {QStringLiteral("Type"), QStringLiteral("CommandOutput")},
                          {QStringLiteral("Devices"), ecids},
                          {QStringLiteral("Output"), devices}};
    return QJsonDocument(top).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace ConfiguratorListing
