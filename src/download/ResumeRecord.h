#pragma once

#include "download/RangePlan.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>

class QLockFile;

// What an interrupted download keeps beside its received bytes so that a later attempt can
// continue safely: the link, the size the server announced, the server's validators, and
// which byte ranges are already on disk.
struct ResumeRecord {
    QUrl url;
    qint64 size = -1;
    QByteArray etag;
    QByteArray lastModified;
    std::vector<Segment> segments;

    // The validator a range request is guarded with (If-Range); empty when there is none, in
    // which case the held bytes cannot be trusted to belong to the file served now.
    QByteArray validator() const { return etag.isEmpty() ? lastModified : etag; }
    qint64 held() const { return RangePlan(segments).held(); }

    QByteArray toJson() const;
    static std::optional<ResumeRecord> fromJson(const QByteArray &json);
};

// The download's own storage for partial data: a private folder of the application, never
// the firmware folder, holding for each link one data file and one record, named by a digest
// of the link so that nothing there looks like an image. Two copies of the application may
// share the folder, so a link's data belongs to whichever process claimed it.
namespace PartialDownloads {

QString folder();
QString dataPath(const QUrl &url);
QString recordPath(const QUrl &url);

// Claims this link's partial data for the life of the returned lock; nothing when another
// process holds it. A lock whose process has died is taken over.
std::shared_ptr<QLockFile> claim(const QUrl &url);

// The record of this link when one exists, is readable, was made for this link, and neither
// it nor the data is a symbolic link.
std::optional<ResumeRecord> load(const QUrl &url);
// Replaces the record; a symbolic link planted in its place is removed, never written through.
bool save(const ResumeRecord &record);
// Removes the data and the record of this link.
void discard(const QUrl &url);
// Removes partial data older than `maximumAge` (by the record's last save) and, when
// `wanted` is given, of every link not in it. `keep` is never touched, nor is data another
// process has claimed.
void removeStale(const std::optional<QList<QUrl>> &wanted, const QList<QUrl> &keep,
                 qint64 maximumAgeSeconds = 7 * 24 * 60 * 60);

} // namespace PartialDownloads
