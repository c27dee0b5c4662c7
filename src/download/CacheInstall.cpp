#include "download/CacheInstall.h"

#include "download/FileSystemError.h"
#include "download/FreeSpace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtConcurrent>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace CacheInstall {

namespace {

constexpr qsizetype copyChunk = 4 * 1024 * 1024;

QString failedToSave(int code)
{
    return QStringLiteral("Не удалось сохранить образ в папке прошивок: %1.")
        .arg(FileSystemError::describe(code));
}

QByteArray native(const QString &path)
{
    return QFile::encodeName(path);
}

// Closes a descriptor when it goes out of scope.
struct Descriptor {
    int fd;
    explicit Descriptor(int value) : fd(value) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
    int release() { return std::exchange(fd, -1); }
};

// Copies everything of `from` into `to`; the error number when that fails.
int copyAll(int from, int to)
{
    QByteArray buffer(copyChunk, Qt::Uninitialized);
    for (;;) {
        const ssize_t got = ::read(from, buffer.data(), size_t(buffer.size()));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return errno;
        if (got == 0)
            return 0;
        const char *data = buffer.constData();
        ssize_t left = got;
        while (left > 0) {
            const ssize_t written = ::write(to, data, size_t(left));
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                return written < 0 ? errno : ENOSPC;
            data += written;
            left -= written;
        }
    }
}

std::optional<QString> copyThenRename(const QString &partialPath, const QString &destination,
                                      const QString &temporaryPath)
{
    const Descriptor source(::open(native(partialPath).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (source.fd < 0)
        return failedToSave(errno);
    struct stat status {};
    if (::fstat(source.fd, &status) != 0)
        return failedToSave(errno);
    if (auto shortage = FreeSpace::checkCache(QFileInfo(destination).absolutePath(), qint64(status.st_size)))
        return shortage;

    // A copy left by an interrupted attempt is of no use; only this link's owner writes here.
    ::unlink(native(temporaryPath).constData());
    int error = 0;
    {
        Descriptor target(::open(native(temporaryPath).constData(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
        if (target.fd < 0)
            return failedToSave(errno);
        error = copyAll(source.fd, target.fd);
        if (error == 0 && ::fsync(target.fd) != 0)
            error = errno;
        if (error == 0 && ::close(target.release()) != 0)
            error = errno;
    }
    if (error == 0 && ::rename(native(temporaryPath).constData(), native(destination).constData()) != 0)
        error = errno;
    if (error != 0) {
        ::unlink(native(temporaryPath).constData());
        return failedToSave(error);
    }
    ::unlink(native(partialPath).constData());
    return std::nullopt;
}

} // namespace

std::optional<QString> move(const QString &partialPath, const QString &destination,
                            const QString &temporaryName)
{
    // A rename replaces the entry at the destination in one step and never follows a link there.
    if (::rename(native(partialPath).constData(), native(destination).constData()) == 0)
        return std::nullopt;
    if (errno != EXDEV)
        return failedToSave(errno);
    return copyThenRename(partialPath, destination,
                          QDir(QFileInfo(destination).absolutePath()).filePath(temporaryName));
}

QFuture<std::optional<QString>> moveInBackground(const QString &partialPath, const QString &destination,
                                                 const QString &temporaryName)
{
    return QtConcurrent::run(
        [partialPath, destination, temporaryName] { return move(partialPath, destination, temporaryName); });
}

} // namespace CacheInstall
