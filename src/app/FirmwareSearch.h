#pragma once

#include "app/WatchFirmware.h"

#include <QString>

// The catalogue search rule, shared by the model's filtered list and the catalogue screen's
// incremental filtering: a record matches when its product type, device name or version
// contains the query, ignoring case and the spaces around the query.
namespace FirmwareSearch {

// The search text as it is compared; empty matches everything.
QString query(const QString &searchText);
bool matches(const WatchFirmware &record, const QString &query);

} // namespace FirmwareSearch
