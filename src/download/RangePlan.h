#pragma once

#include <QtGlobal>

#include <limits>
#include <optional>
#include <vector>

// Which bytes of one file are held and which are still to fetch, as segments that each
// connection fills from its start towards its end. A segment's end of -1 means the length is
// not known yet: it then ends wherever its connection's body ends.
struct Segment {
    qint64 start = 0;
    qint64 position = 0; // [start, position) is on disk
    qint64 end = -1;
    bool assigned = false; // a connection is filling it

    qint64 remaining() const { return end < 0 ? -1 : end - position; }
    bool finished() const { return end >= 0 && position >= end; }

    friend bool operator==(const Segment &, const Segment &) = default;
};

class RangePlan {
public:
    RangePlan() = default;
    explicit RangePlan(std::vector<Segment> segments);
    // The whole file as one segment; `size` -1 when unknown.
    static RangePlan whole(qint64 size);

    const std::vector<Segment> &segments() const { return m_segments; }
    const Segment &segment(int index) const { return m_segments.at(size_t(index)); }
    qint64 held() const;
    bool complete() const;

    // The unfinished, unassigned segment that starts first, now assigned.
    std::optional<int> takeGap();
    // Splits the assigned segment with the most left to fetch when both parts keep at least
    // `minimumPiece` bytes: the upper half, or only the last `largestPiece` bytes when that is
    // less, becomes a new assigned segment.
    std::optional<int> split(qint64 minimumPiece, qint64 largestPiece = std::numeric_limits<qint64>::max());
    void advance(int index, qint64 bytes) { m_segments.at(size_t(index)).position += bytes; }
    void release(int index) { m_segments.at(size_t(index)).assigned = false; }
    // A body of unknown length ended: the segment ends where its data does.
    void close(int index);
    void setEnd(int index, qint64 end) { m_segments.at(size_t(index)).end = end; }

private:
    std::vector<Segment> m_segments;
};
