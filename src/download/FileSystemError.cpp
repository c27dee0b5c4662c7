#include "download/FileSystemError.h"

#include <cerrno>

namespace FileSystemError {

QString describe(int code)
{
    switch (code) {
    case ENOSPC: return QStringLiteral("на диске закончилось место");
    case EFBIG: return QStringLiteral("файл слишком велик для этого диска");
    case EDQUOT: return QStringLiteral("превышена дисковая квота");
    case EACCES:
    case EPERM: return QStringLiteral("нет прав на запись в эту папку");
    case EROFS: return QStringLiteral("диск доступен только для чтения");
    case EIO: return QStringLiteral("ошибка чтения или записи на диске");
    case ENAMETOOLONG: return QStringLiteral("слишком длинное имя файла");
    case ELOOP: return QStringLiteral("на месте файла лежит символическая ссылка");
    case ENOENT: return QStringLiteral("файл или папка не найдены");
    case EISDIR:
    case ENOTEMPTY:
    case EEXIST: return QStringLiteral("на месте файла лежит папка или другой файл");
    default: return QStringLiteral("системная ошибка %1").arg(code);
    }
}

} // namespace FileSystemError
