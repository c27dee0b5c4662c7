#include "device/ConfiguratorDeviceList.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace ConfiguratorDeviceList {

std::optional<Device> firstWatch(const QString &output)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(output.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonValue devices = document.object().value(QStringLiteral("Output"));
    if (!devices.isObject())
        return std::nullopt;

    for (const QJsonValue &device : devices.toObject()) {
        if (!device.isObject())
            continue;
        const QJsonValue deviceType = device.toObject().value(QStringLiteral("deviceType"));
        if (!deviceType.isString() || !deviceType.toString().startsWith(QStringLiteral("Watch")))
            continue;
        // The first watch decides: a watch without a usable ECID is not skipped for another.
        const QJsonValue ecid = device.toObject().value(QStringLiteral("ECID"));
        if (!ecid.isString())
            return std::nullopt;
        return Device{deviceType.toString(), ecid.toString()};
    }
    return std::nullopt;
}

} // namespace ConfiguratorDeviceList
