#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

// How a running total turns into the published progress and its status line.
namespace DownloadProgress {

// The share received, or nothing when the total is unknown (less than one byte).
std::optional<double> fraction(qint64 received, qint64 total);
// "Загружено N%", N being the share in per cent truncated toward zero, so 0.999 shows 99;
// a share outside 0…1 (or not a number) shows as the nearest end.
QString statusText(double fraction);

} // namespace DownloadProgress
