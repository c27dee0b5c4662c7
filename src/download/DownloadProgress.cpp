#include "download/DownloadProgress.h"

namespace DownloadProgress {

std::optional<double> fraction(qint64 received, qint64 total)
{
    if (total < 1)
        return std::nullopt;
    return double(received) / double(total);
}

QString statusText(double fraction)
{
    const auto percent = static_cast<qint64>(fraction * 100);
    return QStringLiteral("Загружено ") + QString::number(percent) + QLatin1Char('%');
}

} // namespace DownloadProgress
