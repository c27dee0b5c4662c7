#include "ui/screens/FirmwareText.h"

#include <QLocale>

QString FirmwareText::sizeText(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

QString FirmwareText::rowDetail(const WatchFirmware &firmware)
{
    return QStringLiteral("watchOS ") + firmware.version + QStringLiteral(" (") + firmware.build +
           QStringLiteral(") · ") + sizeText(firmware.size);
}

QString FirmwareText::cardTitle(const WatchFirmware &firmware)
{
    return firmware.productType + QStringLiteral(" · watchOS ") + firmware.version;
}

QString FirmwareText::cardDetail(const WatchFirmware &firmware)
{
    const QString separator = QStringLiteral("  •  ");
    return firmware.deviceName + separator + firmware.build + separator + sizeText(firmware.size);
}
