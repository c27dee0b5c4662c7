#pragma once

#include "app/records/Failure.h"
#include "download/RangePlan.h"
#include "download/StallDetector.h"

#include <QByteArray>
#include <QUrl>

#include <curl/curl.h>

#include <optional>
#include <utility>
#include <vector>

// What a response said about the body it carries.
struct RangeAnswer {
    bool partial = false; // 206 with a Content-Range
    qint64 firstByte = 0; // where the body starts in the file
    qint64 size = -1;     // the whole file's size, -1 when unknown
    QByteArray etag;
    QByteArray lastModified;
};

// What a fetch has to tell its transfer. The transfer collects these after each turn of the
// connections, never from inside one, so it may stop or replace any fetch in response.
struct FetchEvent {
    enum class Kind {
        // The response's head arrived. The fetch waits, writing nothing, until the transfer
        // lets it go on (proceed) or stops it.
        answered,
        // The segment is filled, or the body of unknown length has ended.
        segmentDone,
        failed,
    };
    Kind kind;
    RangeAnswer answer;
    std::optional<Failure> failure;
};

// How every request of one download is made.
struct FetchSettings {
    QUrl url;
    // The certificates the application trusts, in PEM.
    QByteArray certificates;
};

// One connection filling one segment of the plan: writes each chunk at its offset into the
// shared data file as it arrives and advances the segment, stopping by itself at the
// segment's end (which may move closer while it runs, when the segment is split for another
// connection). Nothing is buffered beyond curl's own receive buffer: when the disk is slower
// than the network, the writes hold the connection back.
//
// An error status (4xx, 5xx) or a web page in answer to a request for bytes after the first
// fails the fetch before anything of it is written.
class RangeFetch final {
public:
    RangeFetch(CURLM *multi, RangePlan &plan, int segment, int fileDescriptor);
    ~RangeFetch();
    RangeFetch(const RangeFetch &) = delete;
    RangeFetch &operator=(const RangeFetch &) = delete;

    // Asks for the segment's missing bytes with a Range header, guarded by `ifRange` when not
    // empty; a server that knows no ranges answers with the whole body, which the transfer
    // accepts in its place.
    void start(const FetchSettings &settings, const QByteArray &ifRange);
    // After answered: the body goes on into the (possibly reassigned) segment.
    void proceed();
    // curl ended this fetch's request.
    void finished(CURLcode result);
    // The events not yet collected, oldest first.
    std::vector<FetchEvent> takeEvents() { return std::exchange(m_events, {}); }

    CURL *handle() const { return m_handle; }
    int segment() const { return m_segment; }
    void setSegment(int segment) { m_segment = segment; }
    const StallDetector &stall() const { return m_stall; }

private:
    static size_t writeCallback(char *data, size_t size, size_t count, void *self);
    size_t write(const char *data, size_t size);
    RangeAnswer readAnswer() const;
    std::optional<QString> refusal() const;
    // Reads the response's head once: queues the answer, or fails the fetch when it is refused.
    bool takeAnswer();
    void report(FetchEvent event);

    CURLM *m_multi;
    CURL *m_handle = nullptr;
    curl_slist *m_headers = nullptr;
    RangePlan &m_plan;
    int m_segment;
    int m_descriptor;
    StallDetector m_stall;
    bool m_answered = false;
    bool m_ended = false; // reported its end: whatever curl says later changes nothing
    std::vector<FetchEvent> m_events;
};

// Writes all of `data` at `offset`; otherwise the Russian description of what went wrong, with
// `written` the bytes that did reach the file.
std::optional<QString> writeAt(int fileDescriptor, const char *data, qint64 size, qint64 offset,
                               qint64 &written);
