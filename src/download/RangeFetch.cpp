#include "download/RangeFetch.h"

#include "download/CurlFailure.h"
#include "download/FileSystemError.h"

#include <QNetworkReply>

#include <cerrno>
#include <unistd.h>

namespace {

// curl's receive buffer per connection: large enough that each write to the file is worth
// its system call, small enough that sixteen connections stay within a few megabytes.
constexpr long receiveBufferSize = 256 * 1024;
// The same limit the rest of the application's network requests have.
constexpr long maximumRedirects = 50;

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

// The value of a header of the final response (after redirects); empty when absent.
QByteArray header(CURL *handle, const char *name)
{
    curl_header *found = nullptr;
    if (curl_easy_header(handle, name, 0, CURLH_HEADER, -1, &found) != CURLHE_OK || !found)
        return {};
    return QByteArray(found->value).trimmed();
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

RangeFetch::RangeFetch(CURLM *multi, RangePlan &plan, int segment, int fileDescriptor)
    : m_multi(multi), m_plan(plan), m_segment(segment), m_descriptor(fileDescriptor)
{}

RangeFetch::~RangeFetch()
{
    if (m_handle) {
        curl_multi_remove_handle(m_multi, m_handle);
        curl_easy_cleanup(m_handle);
    }
    curl_slist_free_all(m_headers);
}

void RangeFetch::start(const FetchSettings &settings, const QByteArray &ifRange)
{
    const Segment &segment = m_plan.segment(m_segment);
    QByteArray range = "Range: bytes=" + QByteArray::number(segment.position) + '-';
    if (segment.end >= 0)
        range += QByteArray::number(segment.end - 1);
    m_headers = curl_slist_append(m_headers, range.constData());
    if (!ifRange.isEmpty())
        m_headers = curl_slist_append(m_headers, QByteArray("If-Range: " + ifRange).constData());

    m_handle = curl_easy_init();
    const QByteArray url = settings.url.toEncoded();
    curl_easy_setopt(m_handle, CURLOPT_URL, url.constData());
    curl_easy_setopt(m_handle, CURLOPT_HTTPHEADER, m_headers);
    // One large stream gains nothing from multiplexing.
    curl_easy_setopt(m_handle, CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1));
    // Follows http→http, http→https and https→https redirects, never from https down to http.
    curl_easy_setopt(m_handle, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(m_handle, CURLOPT_MAXREDIRS, maximumRedirects);
    curl_easy_setopt(m_handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(m_handle, CURLOPT_REDIR_PROTOCOLS_STR,
                     settings.url.scheme() == QLatin1String("https") ? "https" : "http,https");
    // Like the rest of the application: no proxy from the environment, the same trusted
    // certificates.
    curl_easy_setopt(m_handle, CURLOPT_PROXY, "");
    curl_blob certificates{const_cast<char *>(settings.certificates.constData()),
                           size_t(settings.certificates.size()), CURL_BLOB_COPY};
    curl_easy_setopt(m_handle, CURLOPT_CAINFO_BLOB, &certificates);
    curl_easy_setopt(m_handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_handle, CURLOPT_BUFFERSIZE, receiveBufferSize);
    curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, &RangeFetch::writeCallback);
    curl_easy_setopt(m_handle, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(m_handle, CURLOPT_PRIVATE, this);
    m_stall.dataArrived();
    curl_multi_add_handle(m_multi, m_handle);
}

void RangeFetch::proceed()
{
    curl_easy_pause(m_handle, CURLPAUSE_CONT);
}

size_t RangeFetch::writeCallback(char *data, size_t size, size_t count, void *self)
{
    return static_cast<RangeFetch *>(self)->write(data, size * count);
}

bool RangeFetch::takeAnswer()
{
    m_answered = true;
    if (const std::optional<QString> refused = refusal()) {
        long status = 0;
        curl_easy_getinfo(m_handle, CURLINFO_RESPONSE_CODE, &status);
        // The code is the HTTP status, for whoever needs more than the text.
        report({FetchEvent::Kind::failed,
                {},
                Failure::platform(Failure::Domain::network, *refused, int(status))});
        return false;
    }
    m_events.push_back({FetchEvent::Kind::answered, readAnswer(), std::nullopt});
    return true;
}

size_t RangeFetch::write(const char *data, size_t size)
{
    m_stall.dataArrived();
    if (m_ended)
        return 0;
    if (!m_answered) {
        if (!takeAnswer())
            return 0;
        // The same bytes come back once the transfer has decided where they go.
        return CURL_WRITEFUNC_PAUSE;
    }

    const Segment &segment = m_plan.segment(m_segment);
    const qint64 wanted = segment.end >= 0 ? qMin(qint64(size), segment.remaining()) : qint64(size);
    qint64 written = 0;
    if (const auto error = writeAt(m_descriptor, data, wanted, segment.position, written)) {
        // What did reach the disk counts: a full disk ends the download where it is.
        m_plan.advance(m_segment, written);
        report({FetchEvent::Kind::failed, {}, Failure::platform(Failure::Domain::fileSystem, *error, 0)});
        return 0;
    }
    m_plan.advance(m_segment, written);
    if (m_plan.segment(m_segment).finished()) {
        report({FetchEvent::Kind::segmentDone, {}, std::nullopt});
        return 0; // the rest of the response belongs to another connection
    }
    return size;
}

void RangeFetch::finished(CURLcode result)
{
    if (m_ended)
        return;
    // A response without a body says what it is only now.
    if (!m_answered && result == CURLE_OK && !takeAnswer())
        return;
    if (result != CURLE_OK) {
        report({FetchEvent::Kind::failed, {}, CurlFailure::describe(result, m_handle)});
        return;
    }
    const Segment &segment = m_plan.segment(m_segment);
    if (segment.end < 0) {
        m_plan.close(m_segment);
        report({FetchEvent::Kind::segmentDone, {}, std::nullopt});
    } else if (segment.finished()) {
        report({FetchEvent::Kind::segmentDone, {}, std::nullopt});
    } else {
        report({FetchEvent::Kind::failed,
                {},
                Failure::platform(Failure::Domain::network,
                                  QStringLiteral("Сервер закрыл соединение, не передав файл до конца."),
                                  int(QNetworkReply::RemoteHostClosedError))});
    }
}

void RangeFetch::report(FetchEvent event)
{
    m_ended = true;
    m_events.push_back(std::move(event));
}

std::optional<QString> RangeFetch::refusal() const
{
    // The first plain request keeps the rule of every download: its body, whatever the status,
    // is saved and judged by its digest. A request for bytes after those already held must never
    // replace them with an error page.
    if (m_plan.segment(m_segment).position == 0)
        return std::nullopt;
    long status = 0;
    curl_easy_getinfo(m_handle, CURLINFO_RESPONSE_CODE, &status);
    if (status >= 400)
        return QStringLiteral("Сервер ответил ошибкой %1 вместо файла образа.").arg(status);
    // A web page (a proxy's or a captive portal's) answers the request but carries no part of
    // the image.
    const QByteArray type = header(m_handle, "Content-Type").toLower();
    if (type.startsWith("text/html") || type.startsWith("application/xhtml"))
        return QStringLiteral("Сервер прислал веб-страницу вместо файла образа.");
    return std::nullopt;
}

RangeAnswer RangeFetch::readAnswer() const
{
    long status = 0;
    curl_easy_getinfo(m_handle, CURLINFO_RESPONSE_CODE, &status);
    RangeAnswer answer;
    answer.etag = header(m_handle, "ETag");
    answer.lastModified = header(m_handle, "Last-Modified");
    const auto contentRange = parseContentRange(header(m_handle, "Content-Range"));
    if (status == 206 && contentRange) {
        answer.partial = true;
        answer.firstByte = contentRange->first;
        answer.size = contentRange->second;
    } else {
        curl_off_t length = -1;
        curl_easy_getinfo(m_handle, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
        answer.size = length >= 0 ? qint64(length) : -1;
    }
    return answer;
}
