#include "download/FreeSpace.h"

#include <QLocale>
#include <QStorageInfo>

namespace FreeSpace {

namespace {

std::optional<qint64> & override()
{
    static std::optional<qint64> bytes;
    return bytes;
}

} // namespace

qint64 available(const QString &folder)
{
    if (override())
        return *override();
    const QStorageInfo volume(folder);
    return volume.isValid() ? volume.bytesAvailable() : -1;
}

std::optional<Failure> check(const QString &folder, qint64 stillToReceive)
{
    if (stillToReceive <= 0)
        return std::nullopt;
    const qint64 free = available(folder);
    const qint64 needed = stillToReceive + margin;
    if (free < 0 || free >= needed)
        return std::nullopt;
    return Failure::platform(
        Failure::Domain::fileSystem,
        QStringLiteral("Недостаточно места на диске: для загрузки нужно %1, свободно %2.")
            .arg(describe(needed), describe(free)));
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
}

} // namespace Testing

} // namespace FreeSpace
