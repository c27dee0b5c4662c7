#pragma once

#include "app/records/ConnectedWatch.h"

#include <optional>

// A watch attached through Debug USB is restored through Apple Configurator, which can fetch
// the system itself; every other watch needs an image.
inline bool isKISRestore(const std::optional<ConnectedWatch> &watch)
{
    return watch && watch->transport == WatchTransport::kis;
}
