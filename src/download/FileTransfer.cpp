#include "download/FileTransfer.h"

#include <QDir>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUuid>

namespace {

// Hidden, so nobody browsing the cache mistakes a partial file for an image, and with a
// prefix of our own so a later run can tell which leftovers are ours to remove.
const QString partialPrefix = QStringLiteral(".corvalin-");
const QString partialSuffix = QStringLiteral(".part");

// How much the network layer may buffer ahead of the disk. Large enough to keep a fast link
// busy, small enough that a stalled disk cannot grow memory.
constexpr qint64 readBufferSize = 4 * 1024 * 1024;
constexpr qsizetype chunkSize = 1024 * 1024;

// A transfer that receives nothing for a minute fails instead of hanging on a dead connection.
constexpr int idleTimeoutMilliseconds = 60 * 1000;

// Errors that Qt derives from the HTTP status of a response that did arrive. Such a response
// still has a body, and that body is what gets saved and verified.
bool isHttpStatusError(QNetworkReply::NetworkError error)
{
    const int code = int(error);
    return (code >= QNetworkReply::ContentAccessDenied && code <= QNetworkReply::UnknownContentError &&
            error != QNetworkReply::ContentReSendError) ||
           (code >= QNetworkReply::InternalServerError && code <= QNetworkReply::UnknownServerError);
}

} // namespace

FileTransfer::FileTransfer(QNetworkAccessManager *network, QUrl url, const QString &folder, QObject *parent)
    : QObject(parent), m_network(network), m_originalURL(std::move(url)),
      m_partialPath(QDir(folder).filePath(partialPrefix + QUuid::createUuid().toString(QUuid::WithoutBraces) +
                                          partialSuffix)),
      m_file(m_partialPath)
{}

FileTransfer::~FileTransfer()
{
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
        delete m_reply;
    }
    discardPartialFile();
}

void FileTransfer::start()
{
    // Unbuffered: every chunk goes to the file in one write, with no extra copy.
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered)) {
        fail(Failure::platform(Failure::Domain::fileSystem, m_file.errorString(), int(m_file.error())));
        return;
    }
    m_buffer.resize(chunkSize);

    QNetworkRequest request(m_originalURL);
    // Follows http→http and https→https redirects, but never from https down to http.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setTransferTimeout(idleTimeoutMilliseconds);
    // One large stream gains nothing from multiplexing, and HTTP/1.1 keeps Qt's fastest path.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);

    m_reply = m_network->get(request);
    m_reply->setReadBufferSize(readBufferSize);
    connect(m_reply, &QNetworkReply::readyRead, this, &FileTransfer::writeAvailable);
    connect(m_reply, &QNetworkReply::finished, this, &FileTransfer::handleReplyFinished);
}

void FileTransfer::abort()
{
    // The reply reports the cancellation through finished, synchronously.
    if (m_reply)
        m_reply->abort();
}

void FileTransfer::writeAvailable()
{
    bool wrote = false;
    while (!m_done && m_reply && m_reply->bytesAvailable() > 0) {
        const qint64 read = m_reply->read(m_buffer.data(), m_buffer.size());
        if (read <= 0)
            break;
        if (m_file.write(m_buffer.constData(), read) != read) {
            fail(Failure::platform(Failure::Domain::fileSystem, m_file.errorString(), int(m_file.error())));
            return;
        }
        m_written += read;
        wrote = true;
    }
    // Reported per chunk written, not through Qt's own progress signal, which is rate-limited
    // and invents a total at the end when the server never announced one.
    if (wrote && !m_done)
        emit progressed(m_written, announcedLength());
}

qint64 FileTransfer::announcedLength() const
{
    bool known = false;
    const qint64 length = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong(&known);
    return known ? length : -1;
}

void FileTransfer::handleReplyFinished()
{
    if (m_done)
        return;
    const QNetworkReply::NetworkError error = m_reply->error();
    const bool bodyArrived =
        error == QNetworkReply::NoError ||
        (isHttpStatusError(error) && m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid());
    if (!bodyArrived) {
        fail(Failure::platform(Failure::Domain::network, m_reply->errorString(), int(error)));
        return;
    }
    writeAvailable();
    if (!m_done)
        succeed();
}

void FileTransfer::fail(const Failure &failure)
{
    m_done = true;
    if (m_reply) {
        m_reply->disconnect(this);
        // A write failure stops the network side too; after a reported end this does nothing.
        m_reply->abort();
        m_reply->deleteLater();
    }
    discardPartialFile();
    emit failed(failure);
    deleteLater();
}

void FileTransfer::succeed()
{
    m_done = true;
    m_reply->disconnect(this);
    m_reply->deleteLater();
    // Closing can still report an error of the file system (a network volume, for example);
    // it fails the transfer like a failed write.
    m_file.close();
    if (m_file.error() != QFileDevice::NoError) {
        const Failure failure =
            Failure::platform(Failure::Domain::fileSystem, m_file.errorString(), int(m_file.error()));
        discardPartialFile();
        emit failed(failure);
    } else {
        emit bodySaved(m_partialPath);
        discardPartialFile();
    }
    deleteLater();
}

void FileTransfer::discardPartialFile()
{
    if (m_file.isOpen())
        m_file.close();
    if (QFile::exists(m_partialPath))
        QFile::remove(m_partialPath);
}

void FileTransfer::removeStalePartialFiles(const QString &folder, const QStringList &livePaths)
{
    const QDir directory(folder);
    const QStringList names = directory.entryList({partialPrefix + QLatin1Char('*') + partialSuffix},
                                                  QDir::Files | QDir::Hidden | QDir::System);
    for (const QString &name : names) {
        const QString path = directory.filePath(name);
        if (!livePaths.contains(path))
            QFile::remove(path);
    }
}
