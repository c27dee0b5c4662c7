#pragma once

#include "app/records/WatchFirmware.h"
#include "catalog/AppleDBRecords.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

// The pure part of the catalogue service: from decoded records and model names to one
// restorable full image per watch product type.
namespace FirmwareReduction {

// Product type to marketing name from `irecovery --devices` output: only rows of five pieces
// whose product type begins with "Watch"; a later row for the same product type wins.
QHash<QString, QString> nameTable(const QString &toolOutput);

// One firmware per product type that has a full image with a usable link: the latest-dated
// signed one, else the latest-dated one; in model order. Each also names the newest signed
// release of its product type, which may be an update without a full image.
QList<WatchFirmware> buildFirmwareList(const QList<AppleDBFirmware> &records,
                                       const QHash<QString, QString> &names,
                                       const QSet<QString> &allowedHosts);

} // namespace FirmwareReduction
