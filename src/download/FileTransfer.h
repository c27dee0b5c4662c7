#pragma once

#include "app/records/Failure.h"
#include "download/RangeFetch.h"
#include "download/RangePlan.h"
#include "download/ResumeRecord.h"

#include <QElapsedTimer>
#include <QFile>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <optional>

class QNetworkAccessManager;

// One image download streamed into its partial data file, resumable and, where the server
// allows ranges, spread over several connections on disjoint ranges of the same file.
//
// Exactly one of bodySaved or failed is emitted, after which the transfer deletes itself later.
// A failure keeps the bytes received and a record of them (see PartialDownloads) so the next
// transfer of the same link continues where this one stopped; only abort(), the user's cancel,
// discards them, and so does a failure that leaves nothing a later attempt could load. After
// bodySaved the data and its record stay until the receiver has put the image in place and
// discards them. An error status or a web page is a failed request, never a body; a body
// whose length differs from the catalogue's size is a failure too.
//
// The caller claims the link's partial data (PartialDownloads::claim) before starting.
class FileTransfer final : public QObject, private RangeFetch::Owner {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileTransfer)

public:
    // `expectedSize` is the catalogue's size (0 or less: unknown), used for the space checks
    // and to judge the body's length; `destinationFolder` is where the image will be put.
    FileTransfer(QNetworkAccessManager *network, QUrl url, qint64 expectedSize, QString destinationFolder,
                 QObject *parent);
    ~FileTransfer() override;

    // Checks the space (for the data and, on another volume, for the image), opens the partial data and sends
    // the first request; anything that fails here is reported through failed like any other transfer error.
    void start();
    // The user's cancel: stops, discards the partial data, and emits failed with the network
    // layer's cancellation error.
    void abort();

    // The URL the transfer was created with, whatever redirects it followed.
    const QUrl &originalURL() const { return m_originalURL; }

    // Removes the hidden partial files that earlier versions kept in the firmware folder; no
    // transfer writes there any more.
    static void removeLegacyPartialFiles(const QString &folder);

    struct Testing {
        // How long a transfer may receive nothing before it fails as timed out.
        static void setStallTimeout(std::chrono::milliseconds timeout);
    };

signals:
    // Bytes of the file on disk so far and the whole size (-1 when unknown); sent in steps, so
    // that a fast transfer does not flood its receiver.
    void progressed(qint64 received, qint64 total);
    // The whole body is on disk at `partialPath`, closed and flushed, its record complete.
    void bodySaved(const QString &partialPath);
    void failed(const Failure &failure);

private:
    void answered(RangeFetch *fetch, const RangeAnswer &answer) override;
    void received(qint64 bytes) override;
    void segmentDone(RangeFetch *fetch) override;
    void fetchFailed(RangeFetch *fetch, const Failure &failure) override;

    // Starts a connection on the segment; new connections after the first get their own
    // network access manager, so each has its own thread and no per-host connection limit.
    void launch(int segment, QNetworkAccessManager *network);
    // A connection for another segment: an untouched gap first, otherwise half of the largest.
    bool addConnection();
    void restartFromZero(qint64 size);
    void sample();
    // Doubles the connections while that raises the throughput enough.
    void adjustConnections();
    void reportProgress(bool force);
    void saveRecord();
    void keepOnlyWhatCanResume();
    void finish();
    void fail(const Failure &failure);
    void stopAll();

    QNetworkAccessManager *m_network;
    QUrl m_originalURL;
    qint64 m_expectedSize;
    QString m_destinationFolder;
    QString m_partialPath;
    QFile m_file;
    RangePlan m_plan;
    ResumeRecord m_record;
    QList<RangeFetch *> m_fetches;
    bool m_rangesConfirmed = false;
    bool m_done = false;
    // A fresh download that stayed one plain request: its body is judged by its digest alone,
    // whatever its length or status, as every download without our ranges would be.
    bool m_resumedHeldData = false;
    bool m_cancelled = false;

    // Progress is reported in steps of this many bytes and at the end.
    qint64 m_received = 0;
    qint64 m_reported = -1;
    QElapsedTimer m_sinceReport;

    // Connections are added while each addition still raises the throughput.
    QTimer m_sampler;
    QElapsedTimer m_sinceSample;
    qint64 m_bytesAtSample = 0;
    int m_samplesSinceChange = 0;
    double m_rateBeforeChange = 0;
    int m_lastAdded = 0;
    bool m_growing = true;
    int m_samplesSinceSave = 0;
};
