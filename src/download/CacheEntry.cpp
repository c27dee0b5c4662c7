#include "download/CacheEntry.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

namespace CacheEntry {

namespace {

QStringList entriesOf(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

} // namespace

Kind inspect(const QString &folder, const QString &name)
{
    // The listing, not a lookup by name: a case-insensitive file system would find the twin.
    const QStringList entries = entriesOf(folder);
    if (!entries.contains(name, Qt::CaseSensitive))
        return caseTwinOf(folder, name).isEmpty() ? Kind::absent : Kind::caseTwin;
    struct stat status {};
    if (::lstat(QFile::encodeName(QDir(folder).filePath(name)).constData(), &status) != 0)
        return Kind::absent;
    if (S_ISLNK(status.st_mode))
        return Kind::symbolicLink;
    return S_ISREG(status.st_mode) ? Kind::file : Kind::other;
}

QString caseTwinOf(const QString &folder, const QString &name)
{
    for (const QString &entry : entriesOf(folder)) {
        if (entry != name && entry.compare(name, Qt::CaseInsensitive) == 0)
            return entry;
    }
    return {};
}

QString symbolicLinkRefusal(const QString &name)
{
    return QStringLiteral("«%1» в папке прошивок — символическая ссылка, а не файл образа. Приложение не "
                          "открывает файлы по ссылкам: удалите ссылку или положите на её место сам файл.")
        .arg(name);
}

QString caseTwinRefusal(const QString &name, const QString &twin)
{
    return QStringLiteral("В папке прошивок уже есть «%1», имя которого отличается от «%2» только регистром "
                          "букв. Образ не сохраняется, чтобы не заменить этот файл.")
        .arg(twin, name);
}

} // namespace CacheEntry
