#include "download/RangeFetch.h"

#include "download/FileSystemError.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <cerrno>
#include <unistd.h>

namespace {

// How much the network layer may buffer ahead of the disk per connection, so that memory
// stays flat when the disk is slower than the link.
constexpr qint64 readBufferSize = 4 * 1024 * 1024;
// Data is taken from the network layer in batches of at least this size (or when the owner
// asks): every read from a bounded reply wakes the network layer's thread, so reading each
// small chunk as it arrives costs more in thread wake-ups than the chunk is worth.
constexpr qint64 batchSize = 1024 * 1024;
// How much is written to the file in one call.
constexpr qint64 chunkSize = 2 * 1024 * 1024;

// Errors that Qt derives from the HTTP status of a response that did arrive. Such a response
// is refused by its status as soon as it is seen; these only say that it arrived.
bool isHttpStatusError(QNetworkReply::NetworkError error)
{
    const int code = int(error);
    return (code >= QNetworkReply::ContentAccessDenied && code <= QNetworkReply::UnknownContentError &&
            error != QNetworkReply::ContentReSendError) ||
           (code >= QNetworkReply::InternalServerError && code <= QNetworkReply::UnknownServerError);
}

// "bytes 100-199/1000" → first byte 100, size 1000 (size -1 for "*").
std::optional<std::pair<qint64, qint64>> parseContentRange(const QByteArray &value)
{
    const QByteArray trimmed = value.trimmed();
    if (!trimmed.startsWith("bytes "))
        return std::nullopt;
    const qsizetype dash = trimmed.indexOf('-');
    const qsizetype slash = trimmed.indexOf('/');
    if (dash < 0 || slash < dash)
        return std::nullopt;
    bool firstOk = false;
    const qint64 first = trimmed.mid(6, dash - 6).toLongLong(&firstOk);
    bool sizeOk = false;
    const qint64 size = trimmed.mid(slash + 1).toLongLong(&sizeOk);
    if (!firstOk)
        return std::nullopt;
    return std::pair{first, sizeOk ? size : qint64(-1)};
}

} // namespace

std::optional<QString> writeAt(int fileDescriptor, const char *data, qint64 size, qint64 offset,
                               qint64 &written)
{
    written = 0;
    while (size > 0) {
        const ssize_t count = ::pwrite(fileDescriptor, data, size_t(size), off_t(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return QStringLiteral("Не удалось записать загруженные данные на диск: %1.")
                .arg(FileSystemError::describe(count < 0 ? errno : ENOSPC));
        data += count;
        size -= count;
        offset += count;
        written += count;
    }
    return std::nullopt;
}

RangeFetch::RangeFetch(Owner &owner, RangePlan &plan, int segment, int fileDescriptor, QObject *parent)
    : QObject(parent), m_owner(owner), m_plan(plan), m_segment(segment), m_descriptor(fileDescriptor)
{
    m_lastData.start();
}

RangeFetch::~RangeFetch()
{
    stop();
}

void RangeFetch::start(QNetworkAccessManager *network, const QUrl &url, const QByteArray &ifRange)
{
    const Segment &segment = m_plan.segment(m_segment);
    QNetworkRequest request(url);
    // Follows http→http and https→https redirects, but never from https down to http.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    // One large stream gains nothing from multiplexing, and HTTP/1.1 keeps Qt's fastest path.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    QByteArray range = "bytes=" + QByteArray::number(segment.position) + '-';
    if (segment.end >= 0)
        range += QByteArray::number(segment.end - 1);
    request.setRawHeader("Range", range);
    if (!ifRange.isEmpty())
        request.setRawHeader("If-Range", ifRange);

    m_buffer.resize(chunkSize);
    m_lastData.start();
    m_network = network;
    m_reply = network->get(request);
    m_reply->setReadBufferSize(readBufferSize);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &RangeFetch::handleMetaData);
    connect(m_reply, &QNetworkReply::readyRead, this, &RangeFetch::handleReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &RangeFetch::handleFinished);
}

void RangeFetch::stop()
{
    if (QNetworkReply *reply = m_reply) {
        m_reply = nullptr;
        reply->disconnect(this);
        // A reply that already has an outcome needs no abort, and complains about a second one.
        if (reply->isRunning() && reply->error() == QNetworkReply::NoError)
            reply->abort();
        reply->deleteLater();
    }
}

void RangeFetch::abort()
{
    // The reply reports the cancellation through finished, synchronously.
    if (m_reply)
        m_reply->abort();
}

void RangeFetch::handleReadyRead()
{
    m_lastData.start();
    const qint64 remaining = m_plan.segment(m_segment).remaining();
    const qint64 available = m_reply->bytesAvailable();
    if (!m_answered || available >= batchSize || (remaining >= 0 && available >= remaining))
        readAvailable();
}

void RangeFetch::handleMetaData()
{
    if (m_answered || !m_reply || !m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid())
        return;
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    // The network layer follows redirects itself; only the final response describes the body.
    if (status >= 300 && status < 400 && m_reply->hasRawHeader("Location"))
        return;
    m_answered = true;
    // An error status or a web page (a proxy's or a captive portal's) answers the request but
    // carries no part of the image.
    const QByteArray type =
        m_reply->header(QNetworkRequest::ContentTypeHeader).toByteArray().trimmed().toLower();
    std::optional<QString> refusal;
    if (status >= 400)
        refusal = QStringLiteral("Сервер ответил ошибкой %1 вместо файла образа.").arg(status);
    else if (type.startsWith("text/html") || type.startsWith("application/xhtml"))
        refusal = QStringLiteral("Сервер прислал веб-страницу вместо файла образа.");
    // The first plain request keeps the rule of every download: its body, whatever the status,
    // is saved and judged by its digest. A request for bytes after those already held must never
    // replace them with an error page.
    if (refusal && m_plan.segment(m_segment).position > 0) {
        stop();
        // The code is the HTTP status, for whoever needs more than the text.
        m_owner.fetchFailed(this, Failure::platform(Failure::Domain::network, *refusal, status));
        return;
    }
    RangeAnswer answer;
    answer.etag = m_reply->rawHeader("ETag");
    answer.lastModified = m_reply->rawHeader("Last-Modified");
    const auto contentRange = parseContentRange(m_reply->rawHeader("Content-Range"));
    if (status == 206 && contentRange) {
        answer.partial = true;
        answer.firstByte = contentRange->first;
        answer.size = contentRange->second;
    } else {
        bool known = false;
        const qint64 length = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong(&known);
        answer.size = known ? length : -1;
    }
    m_owner.answered(this, answer);
}

void RangeFetch::readAvailable()
{
    if (!m_answered)
        handleMetaData();
    if (!m_answered)
        return;
    qint64 total = 0;
    while (m_reply && m_reply->bytesAvailable() > 0) {
        const Segment &segment = m_plan.segment(m_segment);
        qint64 wanted = m_buffer.size();
        if (segment.end >= 0)
            wanted = qMin(wanted, segment.remaining());
        if (wanted <= 0)
            break;
        const qint64 read = m_reply->read(m_buffer.data(), wanted);
        if (read <= 0)
            break;
        qint64 written = 0;
        if (const auto error = writeAt(m_descriptor, m_buffer.constData(), read, segment.position, written)) {
            // What did reach the disk counts: a full disk ends the download where it is.
            m_plan.advance(m_segment, written);
            if (written > 0)
                m_owner.received(written);
            stop();
            m_owner.fetchFailed(this, Failure::platform(Failure::Domain::fileSystem, *error, 0));
            return;
        }
        m_plan.advance(m_segment, read);
        total += read;
    }
    if (total > 0)
        m_owner.received(total);
    if (m_reply && m_plan.segment(m_segment).finished()) {
        stop();
        m_owner.segmentDone(this);
    }
}

void RangeFetch::handleFinished()
{
    if (!m_reply)
        return;
    const QNetworkReply::NetworkError error = m_reply->error();
    const bool bodyArrived =
        error == QNetworkReply::NoError ||
        (isHttpStatusError(error) && m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid());
    if (!bodyArrived) {
        // What did arrive before the failure is kept for the next attempt.
        if (error != QNetworkReply::OperationCanceledError)
            readAvailable();
        if (!m_reply)
            return; // the bytes completed the segment after all, or could not be written
        const Failure failure =
            Failure::platform(Failure::Domain::network, m_reply->errorString(), int(error));
        stop();
        m_owner.fetchFailed(this, failure);
        return;
    }
    readAvailable();
    if (!m_reply)
        return; // finished its segment or failed while reading the rest
    stop();
    const Segment &segment = m_plan.segment(m_segment);
    if (segment.end < 0) {
        m_plan.close(m_segment);
        m_owner.segmentDone(this);
    } else if (!segment.finished()) {
        m_owner.fetchFailed(
            this, Failure::platform(Failure::Domain::network,
                                    QStringLiteral("Сервер закрыл соединение, не передав файл до конца."),
                                    int(QNetworkReply::RemoteHostClosedError)));
    }
}
