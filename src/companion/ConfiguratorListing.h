#pragma once

#include "companion/IrecoveryQuery.h"

#include <QByteArray>

#include <optional>

// The JSON document `cfgutil --format JSON list` prints: "Command", "Type", "Devices" (the
// ECIDs) and "Output", one object per device keyed by its ECID, with "ECID" and, when known,
// "deviceType" as strings.
namespace ConfiguratorListing {

QByteArray document(const std::optional<IrecoveryQuery::Device> &device);

} // namespace ConfiguratorListing
