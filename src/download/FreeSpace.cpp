#include "download/FreeSpace.h"

#include <QFile>
#include <QHash>
#include <QLocale>
#include <QStorageInfo>

#include <sys/stat.h>

namespace FreeSpace {

namespace {

std::optional<qint64> & override()
{
    static std::optional<qint64> bytes;
    return bytes;
}

QHash<QString, qint64> &folderOverrides()
{
    static QHash<QString, qint64> bytes;
    return bytes;
}

// The space needed and the space free, when the first does not fit into the second.
std::optional<std::pair<qint64, qint64>> shortfall(const QString &folder, qint64 bytes)
{
    if (bytes <= 0)
        return std::nullopt;
    const qint64 free = available(folder);
    const qint64 needed = bytes + margin;
    if (free < 0 || free >= needed)
        return std::nullopt;
    return std::pair{needed, free};
}

} // namespace

qint64 available(const QString &folder)
{
    if (const auto it = folderOverrides().constFind(folder); it != folderOverrides().cend())
        return *it;
    if (override())
        return *override();
    const QStorageInfo volume(folder);
    return volume.isValid() ? volume.bytesAvailable() : -1;
}

std::optional<Failure> check(const QString &folder, qint64 stillToReceive)
{
    const auto missing = shortfall(folder, stillToReceive);
    if (!missing)
        return std::nullopt;
    return Failure::platform(
        Failure::Domain::fileSystem,
        QStringLiteral("Недостаточно места на диске: для загрузки нужно %1, свободно %2.")
            .arg(describe(missing->first), describe(missing->second)));
}

std::optional<QString> checkCache(const QString &folder, qint64 bytes)
{
    const auto missing = shortfall(folder, bytes);
    if (!missing)
        return std::nullopt;
    return QStringLiteral("Недостаточно места в папке прошивок: для образа нужно %1, свободно %2.")
        .arg(describe(missing->first), describe(missing->second));
}

bool sameVolume(const QString &first, const QString &second)
{
    struct stat a {};
    struct stat b {};
    return ::stat(QFile::encodeName(first).constData(), &a) == 0 &&
           ::stat(QFile::encodeName(second).constData(), &b) == 0 && a.st_dev == b.st_dev;
}

QString describe(qint64 bytes)
{
    const QLocale russian(QLocale::Russian, QLocale::Russia);
    constexpr double gigabyte = 1e9;
    constexpr double megabyte = 1e6;
    if (double(bytes) >= gigabyte)
        return russian.toString(double(bytes) / gigabyte, 'f', 1) + QStringLiteral(" ГБ");
    return russian.toString(double(bytes) / megabyte, 'f', 0) + QStringLiteral(" МБ");
}

namespace Testing {

void setAvailable(std::optional<qint64> bytes)
{
    override() = bytes;
    if (!bytes)
        folderOverrides().clear();
}

void setAvailableIn(const QString &folder, qint64 bytes)
{
    folderOverrides().insert(folder, bytes);
}

} // namespace Testing

} // namespace FreeSpace
