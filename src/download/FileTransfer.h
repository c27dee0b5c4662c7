#pragma once

#include "app/records/Failure.h"
#include "download/ConnectionPolicy.h"
#include "download/RangeFetch.h"
#include "download/RangePlan.h"
#include "download/ResumeRecord.h"

#include <QString>
#include <QUrl>

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

// What a transfer tells whoever started it: progress in steps, then exactly one end.
struct TransferReport {
    enum class Kind {
        // Bytes of the file on disk so far and the whole size (-1 when unknown).
        progressed,
        // The whole body is on disk at `partialPath`, closed and flushed, its record complete.
        bodySaved,
        failed,
    };
    Kind kind;
    qint64 received = 0;
    qint64 total = -1;
    QString partialPath;
    std::optional<Failure> failure;
};
// Called on the transfer's own thread.
using TransferReporter = std::function<void(TransferReport)>;

// One image download streamed into its partial data file, resumable and, where the server
// allows ranges, spread over several connections on disjoint ranges of the same file. It runs
// on a thread of its own, all its connections driven by one curl multi handle there.
//
// A failure keeps the bytes received and a record of them (see PartialDownloads) so the next
// transfer of the same link continues where this one stopped; only cancel(), the user's cancel,
// discards them, and so does a failure that leaves nothing a later attempt could load. After
// bodySaved the data and its record stay until the receiver has put the image in place and
// discards them. An error status or a web page in answer to a range after the first byte is a
// failed request, never a body; pieces that do not add up to the catalogue's size fail too.
//
// The caller claims the link's partial data (PartialDownloads::claim) before starting, and
// keeps the claim until the end is reported. Destroying a running transfer stops it and keeps
// what was received, for the next run to continue; it reports nothing more.
class FileTransfer final {
public:
    // `expectedSize` is the catalogue's size (0 or less: unknown), used for the space checks
    // and to judge the body's length; `destinationFolder` is where the image will be put;
    // `certificates` (PEM) are those the application trusts.
    FileTransfer(QUrl url, qint64 expectedSize, QString destinationFolder, QByteArray certificates,
                 TransferReporter reporter);
    ~FileTransfer();
    FileTransfer(const FileTransfer &) = delete;
    FileTransfer &operator=(const FileTransfer &) = delete;

    // Checks the space (for the data and, on another volume, for the image), opens the partial
    // data and sends the first request, on the transfer's thread; anything that fails there is
    // reported like any other transfer error.
    void start();
    // The user's cancel: stops, discards the partial data, and reports the network layer's
    // cancellation error.
    void cancel();

    // The URL the transfer was created with, whatever redirects it followed.
    const QUrl &originalURL() const { return m_originalURL; }

    struct Testing {
        // How long a connection may receive nothing before the transfer fails as timed out.
        static void setStallTimeout(std::chrono::milliseconds timeout);
    };

private:
    enum class Command { none, cancel, quit };

    void run();
    bool open();
    void turn();
    void handle(RangeFetch *fetch, const FetchEvent &event);
    void answered(RangeFetch *fetch, const RangeAnswer &answer);
    void segmentDone(RangeFetch *fetch);
    void launch(int segment);
    void remove(RangeFetch *fetch);
    // A connection for another segment: an untouched gap first, otherwise a probe piece from the
    // end of the largest.
    bool addConnection();
    // False when the data could not be emptied (the transfer has failed then).
    bool restartFromZero(qint64 size);
    void sample();
    void adjustConnections();
    void reportProgress(bool force);
    void saveRecord();
    void keepOnlyWhatCanResume();
    void finish();
    void fail(const Failure &failure);
    // Lets every connection hand over what has already arrived, then closes them all.
    void drainAndStop();
    // The errno of a failed close, 0 when it went well.
    int closeData();
    void stopAll();
    void report(TransferReport report);

    QUrl m_originalURL;
    qint64 m_expectedSize;
    QString m_destinationFolder;
    FetchSettings m_settings;
    TransferReporter m_reporter;
    QString m_partialPath;
    int m_descriptor = -1;
    CURLM *m_multi = nullptr;
    std::thread m_thread;
    std::atomic<Command> m_command{Command::none};

    RangePlan m_plan;
    ResumeRecord m_record;
    std::vector<std::unique_ptr<RangeFetch>> m_fetches;
    bool m_rangesConfirmed = false;
    bool m_done = false;
    // A fresh download that stayed one plain request: its body is judged by its digest alone,
    // whatever its length or status, as every download without our ranges would be.
    bool m_resumedHeldData = false;
    bool m_cancelled = false;

    using Clock = std::chrono::steady_clock;
    qint64 m_reported = -1;
    Clock::time_point m_lastReport;
    Clock::time_point m_lastSample;
    int m_samplesSinceSave = 0;

    // Connections are added while each addition still raises the throughput.
    ConnectionPolicy m_policy;
    int m_samplesSinceChange = 0;
    qint64 m_bytesAtMeasurement = 0;
    Clock::time_point m_measurementStart;
};
