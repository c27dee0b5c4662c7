#include "app/records/WatchFirmware.h"

#include <QHashFunctions>

std::optional<QString> WatchFirmware::currentNote() const
{
    if (!currentSignedVersion || !currentSignedBuild || *currentSignedBuild == build)
        return std::nullopt;
    return QStringLiteral("Актуальная подписываемая сборка watchOS ") + *currentSignedVersion +
           QStringLiteral(" (") + *currentSignedBuild + QStringLiteral(") доступна только как OTA.");
}

namespace {

size_t combineOptional(QtPrivate::QHashCombine &combine, size_t seed, const std::optional<QString> &text)
{
    seed = combine(seed, text.has_value() ? 1 : 0);
    if (text)
        seed = combine(seed, *text);
    return seed;
}

} // namespace

size_t qHash(const WatchFirmware &f, size_t seed) noexcept
{
    QtPrivate::QHashCombine combine;
    seed = combine(seed, f.productType);
    seed = combine(seed, f.deviceName);
    seed = combine(seed, f.version);
    seed = combine(seed, f.build);
    seed = combine(seed, f.released);
    seed = combine(seed, f.isCatalogSigned);
    seed = combine(seed, f.downloadURL);
    seed = combine(seed, f.filename);
    seed = combine(seed, f.sha256);
    seed = combine(seed, f.size);
    seed = combineOptional(combine, seed, f.currentSignedVersion);
    seed = combineOptional(combine, seed, f.currentSignedBuild);
    return seed;
}
