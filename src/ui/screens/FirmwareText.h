#pragma once

#include "app/records/WatchFirmware.h"

#include <QString>

// The texts the catalogue row and the selected-firmware card build from one firmware. The
// row and the card separate the same values differently on purpose.
namespace FirmwareText {

// A short decimal size with its unit in the user's locale, e.g. "3.1 GB".
QString sizeText(qint64 bytes);
// "watchOS 10.2 (21S364) · 3.1 GB"
QString rowDetail(const WatchFirmware &firmware);
// "Watch6,1 · watchOS 10.2"
QString cardTitle(const WatchFirmware &firmware);
// "Apple Watch Series 6  •  21S364  •  3.1 GB"
QString cardDetail(const WatchFirmware &firmware);

} // namespace FirmwareText
