#include "download/ResumeRecord.h"

#include "tools/SystemPaths.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QSaveFile>
#include <QSet>

namespace {

const QString dataSuffix = QStringLiteral(".partial");
const QString recordSuffix = QStringLiteral(".resume");
const QString lockSuffix = QStringLiteral(".lock");

QString keyOf(const QUrl &url)
{
    return QString::fromLatin1(
        QCryptographicHash::hash(url.toEncoded(), QCryptographicHash::Sha256).toHex().left(32));
}

std::unique_ptr<QLockFile> lockFor(const QString &key)
{
    auto lock = std::make_unique<QLockFile>(QDir(PartialDownloads::folder()).filePath(key + lockSuffix));
    // A transfer holds its claim for hours: only a dead owner makes a lock stale, never its age.
    lock->setStaleLockTime(0);
    if (!lock->tryLock(0))
        return nullptr;
    return lock;
}

} // namespace

QByteArray ResumeRecord::toJson() const
{
    QJsonArray ranges;
    for (const Segment &segment : segments)
        ranges.append(QJsonArray{segment.start, segment.position, segment.end});
    const QJsonObject object{{QStringLiteral("url"), QString::fromLatin1(url.toEncoded())},
                             {QStringLiteral("size"), size},
                             {QStringLiteral("etag"), QString::fromLatin1(etag)},
                             {QStringLiteral("lastModified"), QString::fromLatin1(lastModified)},
                             {QStringLiteral("segments"), ranges}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<ResumeRecord> ResumeRecord::fromJson(const QByteArray &json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    ResumeRecord record;
    record.url = QUrl::fromEncoded(object.value(QStringLiteral("url")).toString().toLatin1());
    record.size = qint64(object.value(QStringLiteral("size")).toDouble(-1));
    record.etag = object.value(QStringLiteral("etag")).toString().toLatin1();
    record.lastModified = object.value(QStringLiteral("lastModified")).toString().toLatin1();
    for (const QJsonValue &value : object.value(QStringLiteral("segments")).toArray()) {
        const QJsonArray range = value.toArray();
        const Segment segment{qint64(range.at(0).toDouble(-1)), qint64(range.at(1).toDouble(-1)),
                              qint64(range.at(2).toDouble(-1)), false};
        // Ranges must lie inside the announced size and never claim more than they span.
        if (range.size() != 3 || segment.start < 0 || segment.position < segment.start ||
            (segment.end >= 0 && segment.position > segment.end) ||
            (record.size >= 0 && segment.end > record.size))
            return std::nullopt;
        record.segments.push_back(segment);
    }
    if (!record.url.isValid() || record.segments.empty())
        return std::nullopt;
    return record;
}

namespace PartialDownloads {

QString folder()
{
    const QString path = QDir(SystemPaths::applicationSupportFolder())
                             .filePath(QStringLiteral("Corvalin Studio/Partial Downloads"));
    QDir().mkpath(path);
    return path;
}

QString dataPath(const QUrl &url)
{
    return QDir(folder()).filePath(keyOf(url) + dataSuffix);
}

QString recordPath(const QUrl &url)
{
    return QDir(folder()).filePath(keyOf(url) + recordSuffix);
}

std::shared_ptr<QLockFile> claim(const QUrl &url)
{
    // A transfer of this process that is still winding down (cancelled, its object not yet
    // gone) shares its claim with the next one: the same process never locks itself out.
    static QHash<QString, std::weak_ptr<QLockFile>> claims;
    const QString key = keyOf(url);
    if (std::shared_ptr<QLockFile> held = claims.value(key).lock())
        return held;
    std::shared_ptr<QLockFile> lock = lockFor(key);
    if (lock)
        claims.insert(key, lock);
    return lock;
}

std::optional<ResumeRecord> load(const QUrl &url)
{
    if (QFileInfo(recordPath(url)).isSymLink() || QFileInfo(dataPath(url)).isSymLink())
        return std::nullopt;
    QFile file(recordPath(url));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    std::optional<ResumeRecord> record = ResumeRecord::fromJson(file.readAll());
    if (!record || record->url != url)
        return std::nullopt;
    // The data must still hold every byte the record counts (nobody truncated it meanwhile).
    const QFileInfo data(dataPath(url));
    for (const Segment &segment : record->segments) {
        if (!data.exists() || (segment.position > segment.start && data.size() < segment.position))
            return std::nullopt;
    }
    return record;
}

bool save(const ResumeRecord &record)
{
    // QSaveFile writes to the target of a link, so a planted one goes first.
    if (QFileInfo(recordPath(record.url)).isSymLink())
        QFile::remove(recordPath(record.url));
    QSaveFile file(recordPath(record.url));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(record.toJson());
    return file.commit();
}

void discard(const QUrl &url)
{
    QFile::remove(recordPath(url));
    QFile::remove(dataPath(url));
}

void removeStale(const std::optional<QList<QUrl>> &wanted, const QList<QUrl> &keep, qint64 maximumAgeSeconds)
{
    QSet<QString> keptKeys;
    for (const QUrl &url : keep)
        keptKeys << keyOf(url);
    QSet<QString> wantedKeys;
    if (wanted) {
        for (const QUrl &url : *wanted)
            wantedKeys << keyOf(url);
    }
    const QDir directory(folder());
    const QDateTime oldest = QDateTime::currentDateTimeUtc().addSecs(-maximumAgeSeconds);
    QSet<QString> keys;
    for (const QString &name : directory.entryList(QDir::Files | QDir::Hidden | QDir::System))
        keys << QFileInfo(name).completeBaseName();
    for (const QString &key : std::as_const(keys)) {
        if (keptKeys.contains(key))
            continue;
        // A data file is as old as its record; without a record it cannot be resumed at all.
        const QFileInfo record(directory.filePath(key + recordSuffix));
        const bool expired = !record.exists() || record.lastModified().toUTC() < oldest;
        if (!expired && !(wanted && !wantedKeys.contains(key)))
            continue;
        // Data another process is still writing is its own, however it looks from here.
        const std::unique_ptr<QLockFile> lock = lockFor(key);
        if (!lock)
            continue;
        QFile::remove(directory.filePath(key + recordSuffix));
        QFile::remove(directory.filePath(key + dataSuffix));
    }
}

} // namespace PartialDownloads
