#pragma once

#include "app/records/Failure.h"
#include "download/RangePlan.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

// What a response said about the body it carries.
struct RangeAnswer {
    bool partial = false; // 206 with a Content-Range
    qint64 firstByte = 0; // where the body starts in the file
    qint64 size = -1;     // the whole file's size, -1 when unknown
    QByteArray etag;
    QByteArray lastModified;
};

// One connection filling one segment of the plan: writes each chunk at its offset into the
// shared data file and advances the segment, stopping by itself at the segment's end (which
// may move closer while it runs, when the segment is split for another connection).
//
// The owner is told through plain callbacks on the same thread. An error status (4xx, 5xx) or
// a web page fails the fetch before anything of it is written.
class RangeFetch final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RangeFetch)

public:
    struct Owner {
        virtual ~Owner() = default;
        virtual void answered(RangeFetch *fetch, const RangeAnswer &answer) = 0;
        virtual void received(qint64 bytes) = 0;
        // The segment is filled, or the body of unknown length has ended.
        virtual void segmentDone(RangeFetch *fetch) = 0;
        virtual void fetchFailed(RangeFetch *fetch, const Failure &failure) = 0;
    };

    RangeFetch(Owner &owner, RangePlan &plan, int segment, int fileDescriptor, QObject *parent);
    ~RangeFetch() override;

    // Asks for the segment's missing bytes with a Range header, guarded by `ifRange` when not
    // empty; a server that knows no ranges answers with the whole body, which the owner
    // accepts in its place.
    void start(QNetworkAccessManager *network, const QUrl &url, const QByteArray &ifRange);
    // Stops without reporting anything.
    void stop();
    // Stops, letting the network layer report its cancellation through fetchFailed.
    void abort();

    QNetworkAccessManager *network() const { return m_network; }
    int segment() const { return m_segment; }
    void setSegment(int segment) { m_segment = segment; }
    qint64 millisecondsSinceData() const { return m_lastData.elapsed(); }
    // Writes whatever has arrived so far.
    void readAvailable();

private:
    void handleReadyRead();
    void handleMetaData();
    void handleFinished();

    Owner &m_owner;
    RangePlan &m_plan;
    int m_segment;
    int m_descriptor;
    QNetworkAccessManager *m_network = nullptr;
    QPointer<QNetworkReply> m_reply;
    QByteArray m_buffer;
    QElapsedTimer m_lastData;
    bool m_answered = false;
};

// Writes all of `data` at `offset`; otherwise the Russian description of what went wrong, with
// `written` the bytes that did reach the file.
std::optional<QString> writeAt(int fileDescriptor, const char *data, qint64 size, qint64 offset,
                               qint64 &written);
