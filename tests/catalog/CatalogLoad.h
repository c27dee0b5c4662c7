#pragma once

#include "catalog/CatalogService.h"

#include <QCoroTask>

// Waits for a catalogue load. QCoro::waitFor alone needs a default-constructible result, which
// Result is not.
inline Result<QList<WatchFirmware>> waitForLoad(QCoro::Task<Result<QList<WatchFirmware>>> task)
{
    std::optional<Result<QList<WatchFirmware>>> result;
    QCoro::waitFor([&]() -> QCoro::Task<void> { result.emplace(co_await std::move(task)); }());
    return std::move(*result);
}
