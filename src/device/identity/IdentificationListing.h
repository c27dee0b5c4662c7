#pragma once

#include "app/records/ConnectedWatch.h"

#include <QHash>
#include <QString>

#include <optional>

// Reads what `irecovery -q` prints for a device in Recovery or DFU: "KEY: value" lines.
namespace IdentificationListing {

// Keys upper-cased, values verbatim; a later line with the same key wins. Only PRODUCT, MODEL,
// NAME, MODE and ECID are kept.
QHash<QString, QString> parse(const QString &output);

// The watch the listing describes, with the usual stand-ins for missing fields and `output`
// as its raw output; absent when PRODUCT is missing or does not name a watch.
std::optional<ConnectedWatch> recoveryWatch(const QString &output);

} // namespace IdentificationListing
