#include "download/ResumeRecord.h"

#include "tools/SystemPaths.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {

const QString dataSuffix = QStringLiteral(".partial");
const QString recordSuffix = QStringLiteral(".resume");

QString keyOf(const QUrl &url)
{
    return QString::fromLatin1(
        QCryptographicHash::hash(url.toEncoded(), QCryptographicHash::Sha256).toHex().left(32));
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

std::optional<ResumeRecord> load(const QUrl &url)
{
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
    QStringList keptKeys;
    for (const QUrl &url : keep)
        keptKeys << keyOf(url);
    QStringList wantedKeys;
    if (wanted) {
        for (const QUrl &url : *wanted)
            wantedKeys << keyOf(url);
    }
    const QDir directory(folder());
    const QDateTime oldest = QDateTime::currentDateTimeUtc().addSecs(-maximumAgeSeconds);
    for (const QFileInfo &entry : directory.entryInfoList(QDir::Files | QDir::Hidden)) {
        const QString key = entry.completeBaseName();
        if (keptKeys.contains(key))
            continue;
        // A data file is as old as its record; without a record it cannot be resumed at all.
        const QFileInfo record(directory.filePath(key + recordSuffix));
        const bool expired = !record.exists() || record.lastModified().toUTC() < oldest;
        if (expired || (wanted && !wantedKeys.contains(key)))
            QFile::remove(entry.filePath());
    }
}

} // namespace PartialDownloads
