#include "download/FileTransfer.h"

#include "download/CurlFailure.h"
#include "download/FileSystemError.h"
#include "download/FreeSpace.h"

#include <QFile>
#include <QNetworkReply>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <unistd.h>

namespace {

// A connection that receives nothing for a minute fails the transfer instead of hanging.
std::atomic<std::chrono::milliseconds::rep> stallTimeout{
    std::chrono::milliseconds(std::chrono::seconds(60)).count()};

// How long the thread sleeps at most when no connection has anything: the pace of the checks
// below and of the answer to a cancel that arrives with nothing else to wake it.
constexpr int pollMilliseconds = 25;
// Stalls are checked, the connection count reconsidered and the record saved at this pace.
constexpr auto sampleInterval = std::chrono::milliseconds(50);
// Progress reaches the receiver at most this often (and at the end): each report costs the
// receiver a job on its thread, while a slow link should still move the bar.
constexpr auto progressInterval = std::chrono::milliseconds(100);
// After a change of the connection count, one sample lets the new connections start up, the
// next ones measure.
constexpr int warmUpSamples = 1;
constexpr int measuredSamples = 2;
// A range is split for a further connection only into pieces of at least this size; near the
// end, a connection that has finished its range takes half of another down to the smaller
// size, so that the last bytes do not trickle in over one connection.
constexpr qint64 minimumPiece = 4 * 1024 * 1024;
constexpr qint64 minimumFinalPiece = 1024 * 1024;
// While the connection count is being tried out, a connection added takes only this much from
// the end of a range, and one that finishes then takes another such piece. When the growth
// gains nothing, little is handed back, and the server has read ahead little for a request
// that is given up.
constexpr qint64 probePiece = 16 * 1024 * 1024;
// The record on disk lags the data by at most this many samples.
constexpr int samplesPerSave = 14;

void initialiseCurl()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

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

Failure writeFailure(int error)
{
    return Failure::platform(Failure::Domain::fileSystem,
                             QStringLiteral("Не удалось записать загруженные данные на диск: %1.")
                                 .arg(FileSystemError::describe(error)),
                             error);
}

} // namespace

void FileTransfer::Testing::setStallTimeout(std::chrono::milliseconds timeout)
{
    stallTimeout = timeout.count();
}

FileTransfer::FileTransfer(QUrl url, qint64 expectedSize, QString destinationFolder, QByteArray certificates,
                           TransferReporter reporter)
    : m_originalURL(std::move(url)), m_expectedSize(expectedSize),
      m_destinationFolder(std::move(destinationFolder)), m_settings{m_originalURL, std::move(certificates)},
      m_reporter(std::move(reporter)), m_partialPath(PartialDownloads::dataPath(m_originalURL))
{
    initialiseCurl();
    m_multi = curl_multi_init();
}

FileTransfer::~FileTransfer()
{
    if (m_thread.joinable()) {
        // A cancel already asked for goes on; otherwise quitting keeps what was received.
        Command none = Command::none;
        m_command.compare_exchange_strong(none, Command::quit);
        curl_multi_wakeup(m_multi);
        m_thread.join();
    }
    curl_multi_cleanup(m_multi);
}

void FileTransfer::start()
{
    m_thread = std::thread([this] { run(); });
}

void FileTransfer::cancel()
{
    m_command = Command::cancel;
    curl_multi_wakeup(m_multi);
}

void FileTransfer::run()
{
    if (!open())
        return;
    while (!m_done) {
        const Command command = m_command;
        if (command == Command::cancel) {
            m_cancelled = true;
            stopAll();
            fail(CurlFailure::cancelled());
            break;
        }
        if (command == Command::quit) {
            stopAll();
            saveRecord();
            m_done = true;
            closeData();
            keepOnlyWhatCanResume();
            break;
        }
        int running = 0;
        curl_multi_perform(m_multi, &running);
        turn();
        if (m_done)
            break;
        reportProgress(false);
        if (Clock::now() - m_lastSample >= sampleInterval)
            sample();
        if (!m_done)
            curl_multi_poll(m_multi, nullptr, 0, pollMilliseconds, nullptr);
    }
}

bool FileTransfer::open()
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

    std::optional<Failure> problem;
    // libcurl is loaded on the first download; without it (or with one too old to have every
    // call used here) there is nothing to download with, and the user is told what to mend.
    if (!m_multi)
        problem = Failure::platform(
            Failure::Domain::network,
            QStringLiteral("Не удалось загрузить библиотеку libcurl (версии 7.85 или новее), без "
                           "которой прошивку не скачать. Установите её и повторите загрузку."));
    if (!problem)
        problem =
            FreeSpace::check(PartialDownloads::folder(), m_expectedSize > 0 ? m_expectedSize - held : 0);
    // On another volume the finished image is copied, and must fit there too.
    if (!problem && !FreeSpace::sameVolume(PartialDownloads::folder(), m_destinationFolder)) {
        if (auto shortage = FreeSpace::checkCache(m_destinationFolder, m_expectedSize))
            problem = Failure::platform(Failure::Domain::fileSystem, *shortage);
    }
    if (!problem) {
        // Never through a symbolic link put in its place meanwhile.
        m_descriptor = ::open(QFile::encodeName(m_partialPath).constData(),
                              O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | (record ? 0 : O_TRUNC), 0644);
        if (m_descriptor < 0) {
            const int error = errno;
            problem = Failure::platform(
                Failure::Domain::fileSystem,
                QStringLiteral("Не удалось открыть файл загрузки: %1.").arg(FileSystemError::describe(error)),
                error);
        }
    }
    if (problem) {
        m_done = true;
        report({TransferReport::Kind::failed, 0, -1, {}, *problem});
        return false;
    }

    m_resumedHeldData = record.has_value();
    if (record) {
        m_record = *record;
        m_plan = RangePlan(record->segments);
    } else {
        m_record = ResumeRecord{m_originalURL, -1, {}, {}, {}};
        m_plan = RangePlan::whole(-1);
    }
    m_lastSample = Clock::now();

    const std::optional<int> first = m_plan.takeGap();
    if (!first) {
        finish(); // everything was already held: only the verification was missing
        return false;
    }
    launch(*first);
    return true;
}

void FileTransfer::turn()
{
    int left = 0;
    while (CURLMsg *message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        for (const auto &fetch : m_fetches) {
            if (fetch->handle() == message->easy_handle)
                fetch->finished(message->data.result);
        }
    }
    std::vector<RangeFetch *> fetches;
    for (const auto &fetch : m_fetches)
        fetches.push_back(fetch.get());
    for (RangeFetch *fetch : fetches) {
        const auto alive = [&] {
            return std::any_of(m_fetches.begin(), m_fetches.end(),
                               [fetch](const auto &live) { return live.get() == fetch; });
        };
        // Letting a fetch go on may hand it data, and so further events, at once.
        for (std::vector<FetchEvent> events; !m_done && alive() && !(events = fetch->takeEvents()).empty();) {
            for (const FetchEvent &event : events) {
                if (m_done || !alive())
                    break;
                handle(fetch, event);
            }
        }
        if (m_done)
            return;
    }
}

void FileTransfer::handle(RangeFetch *fetch, const FetchEvent &event)
{
    switch (event.kind) {
    case FetchEvent::Kind::answered: {
        answered(fetch, event.answer);
        const bool kept = std::any_of(m_fetches.begin(), m_fetches.end(),
                                      [fetch](const auto &live) { return live.get() == fetch; });
        if (!m_done && kept)
            fetch->proceed();
        return;
    }
    case FetchEvent::Kind::segmentDone: segmentDone(fetch); return;
    case FetchEvent::Kind::failed: fail(*event.failure); return;
    }
}

void FileTransfer::launch(int segment)
{
    auto fetch = std::make_unique<RangeFetch>(m_multi, m_plan, segment, m_descriptor);
    const QByteArray guard = m_plan.segment(segment).position > 0 ? m_record.validator() : QByteArray();
    fetch->start(m_settings, guard);
    m_fetches.push_back(std::move(fetch));
}

void FileTransfer::remove(RangeFetch *fetch)
{
    std::erase_if(m_fetches, [fetch](const auto &live) { return live.get() == fetch; });
}

bool FileTransfer::addConnection()
{
    std::optional<int> segment = m_plan.takeGap();
    if (!segment)
        segment = m_plan.split(minimumPiece, probePiece);
    if (!segment)
        return false;
    launch(*segment);
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
        if (m_plan.held() > 0)
            reportProgress(true); // progress continues from what was held
        return;
    }

    if (answer.partial) {
        // A range of a different file: that body is no use, start again with a plain request.
        remove(fetch);
        if (restartFromZero(-1))
            launch(0);
        return;
    }

    // The whole body (no range support, or changed validators): it replaces whatever was
    // held, on this one connection.
    if (!restartFromZero(answer.size))
        return;
    fetch->setSegment(0);
    m_record.etag = answer.etag;
    m_record.lastModified = answer.lastModified;
}

bool FileTransfer::restartFromZero(qint64 size)
{
    // The old record describes bytes that are gone now.
    QFile::remove(PartialDownloads::recordPath(m_originalURL));
    if (::ftruncate(m_descriptor, 0) != 0) {
        fail(writeFailure(errno));
        return false;
    }
    m_plan = RangePlan::whole(size);
    m_plan.takeGap();
    m_record = ResumeRecord{m_originalURL, size, {}, {}, {}};
    m_reported = -1;
    return true;
}

void FileTransfer::segmentDone(RangeFetch *fetch)
{
    remove(fetch);
    if (m_plan.complete()) {
        finish();
        return;
    }
    // The connection count stays what the measurements chose: this one takes other work.
    std::optional<int> next = m_plan.takeGap();
    if (!next && m_rangesConfirmed)
        next = m_policy.settled() ? m_plan.split(minimumFinalPiece)
                                  : m_plan.split(minimumFinalPiece, probePiece);
    if (next)
        launch(*next);
}

void FileTransfer::sample()
{
    m_lastSample = Clock::now();
    const std::chrono::milliseconds limit(stallTimeout.load());
    for (const auto &fetch : m_fetches) {
        if (fetch->stall().stalled(limit, m_lastSample)) {
            fail(Failure::networkTimeout(QNetworkReply::TimeoutError));
            return;
        }
    }
    if (++m_samplesSinceSave >= samplesPerSave) {
        m_samplesSinceSave = 0;
        saveRecord();
    }
    if (m_rangesConfirmed && !m_policy.settled())
        adjustConnections();
}

void FileTransfer::adjustConnections()
{
    ++m_samplesSinceChange;
    if (m_samplesSinceChange == warmUpSamples) {
        m_bytesAtMeasurement = m_plan.held();
        m_measurementStart = m_lastSample;
    }
    if (m_samplesSinceChange < warmUpSamples + measuredSamples)
        return;
    m_samplesSinceChange = 0;
    const double seconds = std::chrono::duration<double>(m_lastSample - m_measurementStart).count();
    const double rate = seconds > 0 ? double(m_plan.held() - m_bytesAtMeasurement) / seconds : 0;
    const int connections = int(m_fetches.size());
    const int wanted = m_policy.next(connections, rate);
    while (int(m_fetches.size()) < wanted && addConnection()) {
    }
    // The connections that gained nothing close, and their ranges go to whichever connection
    // finishes first.
    while (int(m_fetches.size()) > qMax(1, wanted)) {
        m_plan.release(m_fetches.back()->segment());
        m_fetches.pop_back();
    }
}

void FileTransfer::reportProgress(bool force)
{
    const qint64 received = m_plan.held();
    const Clock::time_point now = Clock::now();
    if (!force && (received == m_reported || now - m_lastReport < progressInterval))
        return;
    m_reported = received;
    m_lastReport = now;
    report({TransferReport::Kind::progressed, received, m_record.size, {}, std::nullopt});
}

void FileTransfer::saveRecord()
{
    if (m_cancelled || m_descriptor < 0 || m_plan.segments().empty())
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
    if (const int error = closeData())
        report({TransferReport::Kind::failed, 0, -1, {}, writeFailure(error)});
    else
        report({TransferReport::Kind::bodySaved, size, m_record.size, m_partialPath, std::nullopt});
}

void FileTransfer::fail(const Failure &failure)
{
    if (m_done)
        return;
    drainAndStop();
    saveRecord();
    m_done = true;
    closeData();
    keepOnlyWhatCanResume();
    report({TransferReport::Kind::failed, 0, -1, {}, failure});
}

int FileTransfer::closeData()
{
    if (m_descriptor < 0)
        return 0;
    const int closed = ::close(std::exchange(m_descriptor, -1));
    return closed == 0 ? 0 : errno;
}

void FileTransfer::drainAndStop()
{
    // Whatever the other connections have already received goes to the file: it need not be
    // fetched again.
    if (!m_cancelled && !m_fetches.empty()) {
        int running = 0;
        curl_multi_perform(m_multi, &running);
    }
    stopAll();
}

void FileTransfer::stopAll()
{
    m_fetches.clear();
}

void FileTransfer::report(TransferReport report)
{
    // Once the user has cancelled, only the end is of interest.
    if (report.kind == TransferReport::Kind::progressed && m_command == Command::cancel)
        return;
    m_reporter(std::move(report));
}
