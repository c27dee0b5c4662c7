#include "download/DownloadManager.h"

#include "app/records/CacheFileName.h"
#include "download/CacheEntry.h"
#include "download/CacheInstall.h"
#include "download/ChecksumTool.h"
#include "download/DownloadProgress.h"
#include "download/FileTransfer.h"
#include "download/ResumeRecord.h"
#include "tools/ToolLocator.h"

#include <QCoroFuture>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSslConfiguration>
#include <QUuid>

namespace {

QString cachePath(const QString &name)
{
    return QDir(ToolLocator::cacheDirectory()).filePath(name);
}

// The image keeps the name of the link the catalogue gave, even when the CDN redirects to a
// differently named object, so that the cache check finds what was saved. A link without a
// plain name gets a generated one: that name can never point outside the cache or at another
// firmware's image.
QString destinationName(const QUrl &originalURL)
{
    const QString name = CacheFileName::fromURL(originalURL);
    if (CacheFileName::isPlain(name))
        return name;
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + QStringLiteral(".ipsw");
}

// The certificates the application's other connections trust, for the transfer's own TLS.
QByteArray trustedCertificates()
{
    QByteArray pem;
    for (const QSslCertificate &certificate : QSslConfiguration::defaultConfiguration().caCertificates())
        pem += certificate.toPem();
    return pem;
}

} // namespace

DownloadManager::DownloadManager(QObject *parent)
    : QObject(parent), m_statusText(QStringLiteral("Готово к загрузке"))
{}

DownloadManager::~DownloadManager()
{
    // Each running transfer stops and keeps what it received, for the next run to continue.
    m_transfers.clear();
}

std::optional<QString> DownloadManager::existingFile(const WatchFirmware &firmware) const
{
    if (!CacheFileName::isPlain(firmware.filename))
        return std::nullopt;
    // A look-up never creates the cache folder.
    const QString folder = ToolLocator::cacheDirectoryPath();
    if (CacheEntry::inspect(folder, firmware.filename) == CacheEntry::Kind::file)
        return QDir(folder).filePath(firmware.filename);
    return std::nullopt;
}

// An answer known at once still reaches the caller after start returns, like every other.
void DownloadManager::completeLater(DownloadCompletion completion, Result<QString> result)
{
    QMetaObject::invokeMethod(
        this,
        [completion = std::move(completion), result = std::move(result)] {
            if (completion)
                completion(result);
        },
        Qt::QueuedConnection);
}

void DownloadManager::refuse(const QString &description, const QString &status, DownloadCompletion completion)
{
    const Failure failure = Failure::platform(Failure::Domain::fileSystem, description);
    setErrorText(failure.description());
    setStatusText(status);
    completeLater(std::move(completion), failure);
}

bool DownloadManager::reuseCached(const WatchFirmware &firmware, DownloadCompletion &completion)
{
    const QString cache = ToolLocator::cacheDirectory();
    switch (CacheEntry::inspect(cache, firmware.filename)) {
    case CacheEntry::Kind::file: {
        const QString location = cachePath(firmware.filename);
        setDownloadedURL(location);
        setStatusText(QStringLiteral("Файл уже загружен"));
        completeLater(std::move(completion), location);
        return true;
    }
    case CacheEntry::Kind::symbolicLink:
        refuse(CacheEntry::symbolicLinkRefusal(firmware.filename), QStringLiteral("Ошибка сохранения"),
               std::move(completion));
        return true;
    case CacheEntry::Kind::caseTwin:
        refuse(
            CacheEntry::caseTwinRefusal(firmware.filename, CacheEntry::caseTwinOf(cache, firmware.filename)),
            QStringLiteral("Ошибка сохранения"), std::move(completion));
        return true;
    case CacheEntry::Kind::absent:
    case CacheEntry::Kind::other: // the move into place reports it
        return false;
    }
    return false;
}

void DownloadManager::start(const WatchFirmware &firmware, DownloadCompletion completion)
{
    if (m_isDownloading)
        return;

    // Refused rather than saved under a generated name: such a file could never be found in
    // the cache again, so every start would fetch gigabytes anew and leave another file behind.
    if (!CacheFileName::isPlain(firmware.filename)) {
        refuse(QStringLiteral(
                   "Ссылка каталога не содержит допустимого имени файла, поэтому образ не загружается."),
               QStringLiteral("Ошибка сохранения"), std::move(completion));
        return;
    }
    if (reuseCached(firmware, completion))
        return;

    // Another copy of the application may be downloading the same image into the same folders.
    std::shared_ptr<QLockFile> claim = PartialDownloads::claim(firmware.downloadURL);
    if (!claim) {
        refuse(QStringLiteral("Этот образ сейчас загружает другая копия Corvalin Studio. Повторите загрузку, "
                              "когда она закончится: уже полученные данные сохранятся."),
               QStringLiteral("Ошибка загрузки"), std::move(completion));
        return;
    }
    // It may have finished just before letting go.
    if (reuseCached(firmware, completion))
        return;

    m_expectedSHA256 = firmware.sha256;
    m_completion = std::move(completion);
    setIsDownloading(true);
    setProgress(0);
    setErrorText(std::nullopt);
    setStatusText(QStringLiteral("Загрузка с CDN Apple…"));

    PartialDownloads::removeStale(std::nullopt, {firmware.downloadURL});

    // Reports come from the transfer's thread; each becomes a job on this object's thread, and
    // is dropped with this object when it is gone.
    const quint64 id = ++m_lastTransferId;
    auto transfer = std::make_unique<FileTransfer>(
        firmware.downloadURL, firmware.size, ToolLocator::cacheDirectory(), trustedCertificates(),
        [this, id](TransferReport report) {
            QMetaObject::invokeMethod(
                this, [this, id, report = std::move(report)] { handleReport(id, report); },
                Qt::QueuedConnection);
        });
    m_task = transfer.get();
    // The claim lasts until the image is in place and verified, or the transfer has ended.
    m_transfers.push_back({id, std::move(transfer), claim});
    m_task->start();
}

void DownloadManager::keepPartialDownloadsOf(const QList<WatchFirmware> &catalogue)
{
    QList<QUrl> wanted;
    for (const WatchFirmware &firmware : catalogue)
        wanted << firmware.downloadURL;
    QList<QUrl> live;
    for (const LiveTransfer &running : m_transfers)
        live << running.transfer->originalURL();
    PartialDownloads::removeStale(wanted, live);
}

void DownloadManager::cancel()
{
    // The transfer reports its cancellation as an ordinary failure, queued behind this.
    if (FileTransfer *task = std::exchange(m_task, nullptr))
        task->cancel();
    setIsDownloading(false);
    setStatusText(QStringLiteral("Загрузка отменена"));
}

void DownloadManager::handleReport(quint64 transfer, const TransferReport &report)
{
    if (report.kind == TransferReport::Kind::progressed) {
        // Progress already on its way when the user cancelled (or started anew) must not move
        // the bar of what the screen now shows.
        if (isCurrent(transfer))
            handleProgress(report.received, report.total);
        return;
    }
    std::optional<LiveTransfer> ended = takeTransfer(transfer);
    if (!ended)
        return;
    if (report.kind == TransferReport::Kind::bodySaved) {
        install(report.partialPath, ended->transfer->originalURL(), ended->claim);
        return;
    }
    ended.reset(); // the partial data is free for the next start
    handleTransferFailed(*report.failure);
}

bool DownloadManager::isCurrent(quint64 id) const
{
    return m_task &&
           std::any_of(m_transfers.begin(), m_transfers.end(), [this, id](const LiveTransfer &live) {
               return live.id == id && live.transfer.get() == m_task;
           });
}

std::optional<DownloadManager::LiveTransfer> DownloadManager::takeTransfer(quint64 id)
{
    const auto found = std::find_if(m_transfers.begin(), m_transfers.end(),
                                    [id](const LiveTransfer &live) { return live.id == id; });
    if (found == m_transfers.end())
        return std::nullopt;
    LiveTransfer ended = std::move(*found);
    m_transfers.erase(found);
    if (m_task == ended.transfer.get())
        m_task = nullptr;
    return ended;
}

void DownloadManager::handleProgress(qint64 received, qint64 total)
{
    const std::optional<double> fraction = DownloadProgress::fraction(received, total);
    if (!fraction)
        return;
    setProgress(*fraction);
    setStatusText(DownloadProgress::statusText(*fraction));
}

QCoro::Task<> DownloadManager::install(QString partialPath, QUrl originalURL,
                                       std::shared_ptr<QLockFile> claim)
{
    // Held until the image is verified: no other process touches the data or the image meanwhile.
    const QString name = destinationName(originalURL);
    const QString destination = cachePath(name);
    const QString twin = CacheEntry::caseTwinOf(ToolLocator::cacheDirectory(), name);
    std::optional<QString> problem;
    if (!twin.isEmpty()) {
        problem = CacheEntry::caseTwinRefusal(name, twin);
    } else {
        // A copy to another volume takes minutes for a large image: never on this thread.
        const QString temporaryName =
            QLatin1Char('.') + QFileInfo(partialPath).completeBaseName() + QStringLiteral(".incoming");
        const QPointer<DownloadManager> self(this);
        problem = co_await CacheInstall::moveInBackground(partialPath, destination, temporaryName);
        if (!self)
            co_return;
    }
    if (problem) {
        // The finished data and its record stay: the next start only repeats this step.
        const Failure failure = Failure::platform(Failure::Domain::fileSystem, *problem);
        setIsDownloading(false);
        setErrorText(failure.description());
        setStatusText(QStringLiteral("Ошибка сохранения"));
        complete(failure);
        co_return;
    }
    PartialDownloads::discard(originalURL);
    // Not awaited here: the compiler mishandles by-value arguments of an awaited coroutine call.
    verify(destination, claim);
}

void DownloadManager::handleTransferFailed(const Failure &failure)
{
    setIsDownloading(false);
    setErrorText(failure.description());
    // Everything up to the finished partial file is the transfer, its own writes and the space
    // check included; only the final move into the cache is a saving error.
    setStatusText(QStringLiteral("Ошибка загрузки"));
    complete(failure);
}

QCoro::Task<> DownloadManager::verify(QString destination, std::shared_ptr<QLockFile> claim)
{
    Q_UNUSED(claim) // kept until the verdict
    setStatusText(QStringLiteral("Проверка SHA-256…"));
    const QPointer<DownloadManager> self(this);
    const QString computed = co_await ChecksumTool::sha256(destination);
    if (!self)
        co_return;

    if (!ChecksumTool::accepts(m_expectedSHA256, computed)) {
        // Kept aside for inspection; when an older rejected file is in the way the rename
        // fails and the bad file stays under the image's name.
        QFile::rename(destination, destination + QStringLiteral(".invalid"));
        const Failure failure(StudioError::checksumMismatch());
        setIsDownloading(false);
        setErrorText(failure.description());
        setStatusText(QStringLiteral("Ошибка проверки"));
        complete(failure);
        co_return;
    }

    setDownloadedURL(destination);
    setIsDownloading(false);
    setProgress(1);
    setStatusText(QStringLiteral("Загрузка и проверка завершены"));
    complete(destination);
}

void DownloadManager::complete(const Result<QString> &result)
{
    // Taken out first, so a completion that starts the next download keeps that one's callback.
    const DownloadCompletion completion = std::exchange(m_completion, {});
    if (completion)
        completion(result);
}

void DownloadManager::setIsDownloading(bool value)
{
    m_isDownloading = value;
    emit isDownloadingChanged();
}

void DownloadManager::setProgress(double value)
{
    m_progress = value;
    emit progressChanged();
}

void DownloadManager::setStatusText(const QString &value)
{
    m_statusText = value;
    emit statusTextChanged();
}

void DownloadManager::setDownloadedURL(const std::optional<QString> &value)
{
    m_downloadedURL = value;
    emit downloadedURLChanged();
}

void DownloadManager::setErrorText(const std::optional<QString> &value)
{
    m_errorText = value;
    emit errorTextChanged();
}
