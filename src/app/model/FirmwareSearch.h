#pragma once

#include "app/records/WatchFirmware.h"

#include <QString>

#include <optional>

// The catalogue search rule, shared by the model's filtered list and the catalogue screen's
// incremental filtering: a record matches when its product type, device name or version
// contains the query, ignoring case and the spaces around the query.
namespace FirmwareSearch {

// The search text as it is compared; empty matches everything.
QString query(const QString &searchText);
bool matches(const WatchFirmware &record, const QString &query);

// The same rule for long lists: the record's searched fields case-folded and joined once, so
// each keystroke costs one plain substring search per record.
QString foldedFields(const WatchFirmware &record);
// The query folded to match such fields; absent for a query that cannot be matched that way.
std::optional<QString> foldedQuery(const QString &query);
bool matchesFolded(const QString &foldedFields, const QString &foldedQuery);

} // namespace FirmwareSearch
