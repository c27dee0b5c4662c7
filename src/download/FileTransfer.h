#pragma once

#include "app/Failure.h"

#include <QByteArray>
#include <QFile>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

// One HTTP GET streamed chunk by chunk into a hidden partial file inside a folder, so that the
// body is never held in memory and the finished file can be renamed within the same volume.
//
// Exactly one of bodySaved or failed is emitted, after which the transfer deletes itself later.
// The partial file only exists while the transfer lives: whatever the receiver of bodySaved
// has not moved away is removed as soon as that signal returns, and every failure and abort
// removes it at once. The HTTP status is deliberately not examined: an error page is a body
// like any other and is saved for the verifier to reject.
class FileTransfer final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileTransfer)

public:
    FileTransfer(QNetworkAccessManager *network, QUrl url, const QString &folder, QObject *parent);
    ~FileTransfer() override;

    // Opens the partial file and sends the request; a file that cannot be created is reported
    // through failed like any other transfer error.
    void start();
    // Stops the transfer; failed is emitted with the network layer's cancellation error.
    void abort();

    // The URL the transfer was created with, whatever redirects it followed.
    const QUrl &originalURL() const { return m_originalURL; }
    const QString &partialPath() const { return m_partialPath; }

    // Hidden partial files of transfers in `folder` that no live transfer owns any more
    // (left behind by a crash) are removed; `livePaths` are kept.
    static void removeStalePartialFiles(const QString &folder, const QStringList &livePaths);

signals:
    void progressed(qint64 received, qint64 total);
    // The whole body is on disk at `partialPath`, closed and flushed.
    void bodySaved(const QString &partialPath);
    void failed(const Failure &failure);

private:
    void writeAvailable();
    // The body length the server announced, or -1.
    qint64 announcedLength() const;
    void handleReplyFinished();
    void fail(const Failure &failure);
    void succeed();
    void discardPartialFile();

    QNetworkAccessManager *m_network;
    QUrl m_originalURL;
    QString m_partialPath;
    QFile m_file;
    QPointer<QNetworkReply> m_reply;
    QByteArray m_buffer;
    qint64 m_written = 0;
    bool m_done = false;
};
