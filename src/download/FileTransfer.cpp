#include "download/FileTransfer.h"

#include "download/FileSystemError.h"
#include "download/FreeSpace.h"

#include <QDir>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Hidden files that earlier versions kept in the firmware folder while downloading.
const QString legacyPartialPrefix = QStringLiteral(".corvalin-");
const QString legacyPartialSuffix = QStringLiteral(".part");

// A transfer that receives nothing for a minute fails instead of hanging on a dead connection.
std::chrono::milliseconds stallTimeout = std::chrono::seconds(60);

// Progress reaches the receiver in steps of this size, or after this long with anything new:
// a fast link delivers many small chunks a second, and each step costs the receiver a job on
// its thread, while a slow one should still move the bar.
constexpr qint64 progressStep = 4 * 1024 * 1024;
constexpr qint64 progressIntervalMilliseconds = 100;

// How often stalls are checked and progress flushed; the throughput is measured over
// several such samples.
constexpr int sampleMilliseconds = 250;
constexpr int samplesPerMeasurement = 2;
// A connection is worth keeping when it raised the throughput by at least this share.
constexpr double worthwhileGain = 1.15;
// Politeness towards the server, whatever the measurements say.
constexpr int maximumConnections = 16;
// A range is never split into pieces smaller than this.
constexpr qint64 minimumPiece = 4 * 1024 * 1024;
// The record on disk lags the data by at most this many samples.
constexpr int samplesPerSave = 3;

// Held bytes are worth keeping when a later attempt can tie them to the file served then (a
// validator), or when nothing is missing and only putting the image in place failed.
bool resumable(const ResumeRecord &record)
{
    const RangePlan plan(record.segments);
    return plan.held() > 0 && (!record.validator().isEmpty() || plan.complete());
}

bool validatorsAgree(const ResumeRecord &record, const RangeAnswer &answer)
{
    if (!record.etag.isEmpty())
        return answer.etag == record.etag;
    if (!record.lastModified.isEmpty())
        return answer.lastModified == record.lastModified;
    return true;
}

} // namespace

void FileTransfer::Testing::setStallTimeout(std::chrono::milliseconds timeout)
{
    stallTimeout = timeout;
}

FileTransfer::FileTransfer(QNetworkAccessManager *network, QUrl url, qint64 expectedSize,
                           QString destinationFolder, QObject *parent)
    : QObject(parent), m_network(network), m_originalURL(std::move(url)), m_expectedSize(expectedSize),
      m_destinationFolder(std::move(destinationFolder)),
      m_partialPath(PartialDownloads::dataPath(m_originalURL)), m_file(m_partialPath)
{
    m_sampler.setInterval(sampleMilliseconds);
    connect(&m_sampler, &QTimer::timeout, this, &FileTransfer::sample);
}

FileTransfer::~FileTransfer()
{
    // Quitting keeps what was received, for the next run to continue.
    if (!m_done) {
        stopAll();
        saveRecord();
        m_file.close();
        keepOnlyWhatCanResume();
    }
}

void FileTransfer::start()
{
    std::optional<ResumeRecord> record = PartialDownloads::load(m_originalURL);
    // Bytes that cannot be tied to the file served now, or that disagree with the catalogue's
    // size, are worth nothing. What is not resumed goes, planted links included (removing a
    // link never touches what it points at).
    if (record &&
        (!resumable(*record) || (m_expectedSize > 0 && record->size >= 0 && record->size != m_expectedSize)))
        record.reset();
    if (!record)
        PartialDownloads::discard(m_originalURL);
    const qint64 held = record ? record->held() : 0;

    if (auto failure =
            FreeSpace::check(PartialDownloads::folder(), m_expectedSize > 0 ? m_expectedSize - held : 0)) {
        fail(*failure);
        return;
    }
    // On another volume the finished image is copied, and must fit there too.
    if (!FreeSpace::sameVolume(PartialDownloads::folder(), m_destinationFolder)) {
        if (auto shortage = FreeSpace::checkCache(m_destinationFolder, m_expectedSize)) {
            fail(Failure::platform(Failure::Domain::fileSystem, *shortage));
            return;
        }
    }

    // Never through a symbolic link put in its place meanwhile.
    const int descriptor = ::open(QFile::encodeName(m_partialPath).constData(),
                                  O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | (record ? 0 : O_TRUNC), 0644);
    if (descriptor < 0 || !m_file.open(descriptor, QIODevice::ReadWrite | QIODevice::Unbuffered,
                                       QFileDevice::AutoCloseHandle)) {
        const int error = errno;
        if (descriptor >= 0)
            ::close(descriptor);
        fail(Failure::platform(
            Failure::Domain::fileSystem,
            QStringLiteral("Не удалось открыть файл загрузки: %1.").arg(FileSystemError::describe(error)),
            error));
        return;
    }

    m_resumedHeldData = record.has_value();
    if (record) {
        m_record = *record;
        m_plan = RangePlan(record->segments);
    } else {
        m_record = ResumeRecord{m_originalURL, -1, {}, {}, {}};
        m_plan = RangePlan::whole(-1);
    }
    m_received = m_plan.held();
    m_sampler.start();

    const std::optional<int> first = m_plan.takeGap();
    if (!first) {
        finish(); // everything was already held: only the verification was missing
        return;
    }
    launch(*first, m_network);
}

void FileTransfer::abort()
{
    if (m_done)
        return;
    m_cancelled = true;
    // The network layer reports the cancellation synchronously, with its own description.
    if (!m_fetches.isEmpty())
        m_fetches.first()->abort();
    fail(Failure::platform(Failure::Domain::network, QStringLiteral("Загрузка отменена."),
                           int(QNetworkReply::OperationCanceledError)));
}

void FileTransfer::launch(int segment, QNetworkAccessManager *network)
{
    if (!network)
        network = new QNetworkAccessManager(this);
    auto *fetch = new RangeFetch(*this, m_plan, segment, m_file.handle(), this);
    m_fetches.append(fetch);
    const QByteArray guard = m_plan.segment(segment).position > 0 ? m_record.validator() : QByteArray();
    fetch->start(network, m_originalURL, guard);
}

bool FileTransfer::addConnection()
{
    std::optional<int> segment = m_plan.takeGap();
    if (!segment)
        segment = m_plan.split(minimumPiece);
    if (!segment)
        return false;
    launch(*segment, nullptr);
    return true;
}

void FileTransfer::answered(RangeFetch *fetch, const RangeAnswer &answer)
{
    const Segment &segment = m_plan.segment(fetch->segment());
    const bool continues = answer.partial && answer.firstByte == segment.position && answer.size >= 0 &&
                           (m_record.size < 0 || answer.size == m_record.size) &&
                           validatorsAgree(m_record, answer);
    if (m_rangesConfirmed) {
        // A further connection must see the very file the first one saw.
        if (!continues) {
            m_cancelled = true; // nothing held can be trusted any more
            fail(Failure::platform(Failure::Domain::network,
                                   QStringLiteral("Файл на сервере изменился во время загрузки."),
                                   int(QNetworkReply::ContentConflictError)));
        }
        return;
    }

    if (continues) {
        m_rangesConfirmed = true;
        m_record.size = answer.size;
        m_record.etag = answer.etag;
        m_record.lastModified = answer.lastModified;
        if (segment.end < 0)
            m_plan.setEnd(fetch->segment(), answer.size);
        if (m_received > 0)
            reportProgress(true); // progress continues from what was held

        return;
    }

    if (answer.partial) {
        // A range of a different file: that body is no use, start again with a plain request.
        m_fetches.removeOne(fetch);
        fetch->stop();
        fetch->deleteLater();
        restartFromZero(-1);
        launch(0, fetch->network());
        return;
    }

    // The whole body (no range support, or changed validators): it replaces whatever was
    // held, on this one connection.
    restartFromZero(answer.size);
    fetch->setSegment(0);
    m_record.etag = answer.etag;
    m_record.lastModified = answer.lastModified;
}

void FileTransfer::restartFromZero(qint64 size)
{
    // The old record describes bytes that are gone now.
    QFile::remove(PartialDownloads::recordPath(m_originalURL));
    m_file.resize(0);
    m_plan = RangePlan::whole(size);
    m_plan.takeGap();
    m_record = ResumeRecord{m_originalURL, size, {}, {}, {}};
    m_received = 0;
    m_reported = -1;
}

void FileTransfer::received(qint64 bytes)
{
    m_received += bytes;
    reportProgress(false);
}

void FileTransfer::segmentDone(RangeFetch *fetch)
{
    m_fetches.removeOne(fetch);
    fetch->deleteLater();
    if (m_plan.complete()) {
        finish();
        return;
    }
    // The connection count stays what the measurements chose: this one takes other work.
    std::optional<int> next = m_plan.takeGap();
    if (!next && m_rangesConfirmed)
        next = m_plan.split(minimumPiece);
    if (next)
        launch(*next, fetch->network());
}

void FileTransfer::fetchFailed(RangeFetch *, const Failure &failure)
{
    fail(failure);
}

void FileTransfer::sample()
{
    if (m_done)
        return;
    for (const RangeFetch *fetch : std::as_const(m_fetches)) {
        if (fetch->millisecondsSinceData() >= stallTimeout.count()) {
            fail(Failure::networkTimeout(QNetworkReply::TimeoutError));
            return;
        }
    }

    // Connections hand over their data in batches; what is left over is written now, so that
    // a slow link still moves the bar and the record stays close behind.
    for (RangeFetch *fetch : QList<RangeFetch *>(m_fetches))
        fetch->readAvailable();
    if (m_done)
        return;
    reportProgress(false);
    if (++m_samplesSinceSave >= samplesPerSave) {
        m_samplesSinceSave = 0;
        saveRecord();
    }

    if (m_rangesConfirmed && m_growing)
        adjustConnections();
}

void FileTransfer::adjustConnections()
{
    // After a change, one sample lets the new connections start up, the next ones measure.
    ++m_samplesSinceChange;
    if (m_samplesSinceChange == 1) {
        m_bytesAtSample = m_received;
        m_sinceSample.start();
    }
    if (m_samplesSinceChange < 1 + samplesPerMeasurement)
        return;
    const double seconds = double(m_sinceSample.elapsed()) / 1000.0;
    const double rate = seconds > 0 ? double(m_received - m_bytesAtSample) / seconds : 0;

    if (m_rateBeforeChange > 0 && rate < m_rateBeforeChange * worthwhileGain) {
        m_growing = false;
        if (rate > m_rateBeforeChange)
            return;
        // The last connections gained nothing (the link or this machine is the limit): they
        // close, and their ranges go to whichever connection finishes first.
        for (int i = 0; i < m_lastAdded && m_fetches.size() > 1; ++i) {
            RangeFetch *last = m_fetches.takeLast();
            last->stop();
            last->deleteLater();
            m_plan.release(last->segment());
        }
        return;
    }
    if (m_fetches.size() >= maximumConnections) {
        m_growing = false;
        return;
    }
    m_rateBeforeChange = rate;
    m_samplesSinceChange = 0;
    // Doubling finds the right count in a few steps while the file is still large.
    const int wanted = qMin(qsizetype(maximumConnections), 2 * m_fetches.size());
    m_lastAdded = 0;
    while (m_fetches.size() < wanted && addConnection())
        ++m_lastAdded;
    if (m_lastAdded == 0)
        m_growing = false;
}

void FileTransfer::reportProgress(bool force)
{
    const bool due = m_received - m_reported >= progressStep ||
                     (m_received != m_reported && m_sinceReport.elapsed() >= progressIntervalMilliseconds);
    if (!force && !due && m_sinceReport.isValid())
        return;
    m_reported = m_received;
    m_sinceReport.start();
    emit progressed(m_received, m_record.size);
}

void FileTransfer::saveRecord()
{
    if (m_cancelled || !m_file.isOpen() || m_plan.segments().empty())
        return;
    m_record.segments = m_plan.segments();
    if (resumable(m_record))
        PartialDownloads::save(m_record);
}

void FileTransfer::keepOnlyWhatCanResume()
{
    // Data without a record that a later attempt can load (cancelled, nothing worth keeping,
    // or a record the full disk would not take) is dead weight: both files go.
    if (m_cancelled || !PartialDownloads::load(m_originalURL))
        PartialDownloads::discard(m_originalURL);
}

void FileTransfer::finish()
{
    stopAll();
    reportProgress(true);
    const qint64 size = m_plan.held();
    const bool assembledFromRanges = m_resumedHeldData || m_plan.segments().size() > 1;
    if (m_expectedSize > 0 && size != m_expectedSize && assembledFromRanges) {
        // Pieces put together (resumed, or fetched over several connections) that do not add up
        // to the catalogue's size are not the image it describes. A short one continues from its
        // end next time. A single plain body is left to the digest check, like any download.
        if (size < m_expectedSize && m_plan.segments().size() == 1) {
            m_plan.setEnd(0, m_expectedSize);
            m_record.size = m_expectedSize;
        } else {
            m_cancelled = true;
        }
        fail(Failure::platform(Failure::Domain::network,
                               QStringLiteral("Сервер передал %1 байт, а в каталоге указан размер %2 байт.")
                                   .arg(size)
                                   .arg(m_expectedSize),
                               int(QNetworkReply::ProtocolFailure)));
        return;
    }
    m_done = true;
    // The finished data keeps a record until the image is in place, so that a failure there
    // does not cost the download.
    saveRecord();
    // Closing can still report an error of the file system (a network volume, for example);
    // it fails the transfer like a failed write.
    m_file.close();
    if (m_file.error() != QFileDevice::NoError)
        emit failed(Failure::platform(
            Failure::Domain::fileSystem,
            QStringLiteral("Не удалось записать загруженные данные на диск: %1.").arg(m_file.errorString()),
            int(m_file.error())));
    else
        emit bodySaved(m_partialPath);
    deleteLater();
}

void FileTransfer::fail(const Failure &failure)
{
    if (m_done)
        return;
    stopAll();
    saveRecord();
    m_done = true;
    m_file.close();
    keepOnlyWhatCanResume();
    emit failed(failure);
    deleteLater();
}

void FileTransfer::stopAll()
{
    m_sampler.stop();
    for (RangeFetch *fetch : std::as_const(m_fetches)) {
        fetch->stop();
        fetch->deleteLater();
    }
    m_fetches.clear();
}

void FileTransfer::removeLegacyPartialFiles(const QString &folder)
{
    const QDir directory(folder);
    const QStringList names =
        directory.entryList({legacyPartialPrefix + QLatin1Char('*') + legacyPartialSuffix},
                            QDir::Files | QDir::Hidden | QDir::System);
    for (const QString &name : names)
        QFile::remove(directory.filePath(name));
}
