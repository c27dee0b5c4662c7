#include "download/DownloadProgress.h"

#include <algorithm>
#include <cmath>

namespace DownloadProgress {

std::optional<double> fraction(qint64 received, qint64 total)
{
    if (total < 1)
        return std::nullopt;
    return double(received) / double(total);
}

QString statusText(double fraction)
{
    // Bounded before the conversion, which is undefined for a value out of range or NaN.
    const double bounded = std::isnan(fraction) ? 0 : std::clamp(fraction, 0.0, 1.0);
    const auto percent = static_cast<int>(bounded * 100);
    return QStringLiteral("Загружено ") + QString::number(percent) + QLatin1Char('%');
}

} // namespace DownloadProgress
