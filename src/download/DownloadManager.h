#pragma once

#include "app/records/Result.h"
#include "app/records/WatchFirmware.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

// Called exactly once per started transfer, always on the GUI thread, with the local path of
// the verified image or the failure.
using DownloadCompletion = std::function<void(const Result<QString> &)>;

// One firmware download at a time into the cache folder, streamed to disk, verified with
// shasum. Every assignment of a published value emits its signal, even when unchanged.
class FileTransfer;
struct TransferReport;
class QLockFile;

class DownloadManager final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DownloadManager)
    Q_PROPERTY(bool isDownloading READ isDownloading NOTIFY isDownloadingChanged)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QString statusText READ statusText NOTIFY statusTextChanged)

public:
    explicit DownloadManager(QObject *parent = nullptr);
    ~DownloadManager() override;

    bool isDownloading() const { return m_isDownloading; }
    double progress() const { return m_progress; }
    const QString &statusText() const { return m_statusText; }
    // Local file paths.
    const std::optional<QString> &downloadedURL() const { return m_downloadedURL; }
    const std::optional<QString> &errorText() const { return m_errorText; }

    // The cached image of this firmware (its local path) when a file of exactly that name is
    // there; a symbolic link or a name differing only in letter case does not count.
    std::optional<QString> existingFile(const WatchFirmware &firmware) const;
    void start(const WatchFirmware &firmware, DownloadCompletion completion);
    void cancel();
    // Partial data of firmware no longer offered (and of anything older than a week) is
    // removed; a running transfer keeps its own.
    void keepPartialDownloadsOf(const QList<WatchFirmware> &catalogue);

signals:
    void isDownloadingChanged();
    void progressChanged();
    void statusTextChanged();
    void downloadedURLChanged();
    void errorTextChanged();

private:
    void completeLater(DownloadCompletion completion, Result<QString> result);
    // Ends a start that cannot go ahead, before any transfer.
    void refuse(const QString &description, const QString &status, DownloadCompletion completion);
    // Answers a start from what the cache folder holds under the image's name: the image
    // itself, or something that must not be replaced or followed. False when a download is due.
    bool reuseCached(const WatchFirmware &firmware, DownloadCompletion &completion);
    void setIsDownloading(bool value);
    void setProgress(double value);
    void setStatusText(const QString &value);
    void setDownloadedURL(const std::optional<QString> &value);
    void setErrorText(const std::optional<QString> &value);

    // What a transfer reports, arriving from its thread as a queued job on the GUI thread, in
    // order. Its effect on published state deliberately does not depend on which transfer it
    // came from: the late report of a cancelled transfer is handled like any other.
    void handleReport(quint64 transfer, const TransferReport &report);
    void handleProgress(qint64 received, qint64 total);
    // Puts the finished data into the cache folder, then verifies it there.
    QCoro::Task<> install(QString partialPath, QUrl originalURL, std::shared_ptr<QLockFile> claim);
    void handleTransferFailed(const Failure &failure);
    // A transfer running (or cancelled and not yet ended), with the claim on its partial data.
    struct LiveTransfer {
        quint64 id;
        std::unique_ptr<FileTransfer> transfer;
        std::shared_ptr<QLockFile> claim;
    };
    // Whether the transfer is the one the screen shows (not cancelled, not replaced).
    bool isCurrent(quint64 id) const;
    // Takes the ended transfer out, its thread finished; null when it is not known.
    std::optional<LiveTransfer> takeTransfer(quint64 id);
    QCoro::Task<> verify(QString destination, std::shared_ptr<QLockFile> claim);
    // Hands the result to the stored completion, if any, and forgets it.
    void complete(const Result<QString> &result);

    bool m_isDownloading = false;
    double m_progress = 0;
    QString m_statusText;
    std::optional<QString> m_downloadedURL;
    std::optional<QString> m_errorText;
    QString m_expectedSHA256;
    // The transfer the user may still cancel; null once cancelled.
    FileTransfer *m_task = nullptr;
    std::vector<LiveTransfer> m_transfers;
    quint64 m_lastTransferId = 0;
    DownloadCompletion m_completion;
};
