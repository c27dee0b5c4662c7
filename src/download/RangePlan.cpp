#include "download/RangePlan.h"

RangePlan::RangePlan(std::vector<Segment> segments) : m_segments(std::move(segments))
{
    for (Segment &segment : m_segments)
        segment.assigned = false;
}

RangePlan RangePlan::whole(qint64 size)
{
    return RangePlan({Segment{0, 0, size, false}});
}

qint64 RangePlan::held() const
{
    qint64 total = 0;
    for (const Segment &segment : m_segments)
        total += segment.position - segment.start;
    return total;
}

bool RangePlan::complete() const
{
    for (const Segment &segment : m_segments) {
        if (!segment.finished())
            return false;
    }
    return true;
}

std::optional<int> RangePlan::takeGap()
{
    std::optional<int> first;
    for (int i = 0; i < int(m_segments.size()); ++i) {
        const Segment &segment = m_segments[size_t(i)];
        if (!segment.assigned && !segment.finished() &&
            (!first || segment.position < this->segment(*first).position))
            first = i;
    }
    if (first)
        m_segments[size_t(*first)].assigned = true;
    return first;
}

std::optional<int> RangePlan::split(qint64 minimumPiece, qint64 largestPiece)
{
    std::optional<int> largest;
    for (int i = 0; i < int(m_segments.size()); ++i) {
        const Segment &segment = m_segments[size_t(i)];
        if (segment.assigned && segment.remaining() >= 2 * minimumPiece &&
            (!largest || segment.remaining() > this->segment(*largest).remaining()))
            largest = i;
    }
    if (!largest)
        return std::nullopt;
    Segment &lower = m_segments[size_t(*largest)];
    const qint64 upperHalf = lower.remaining() - lower.remaining() / 2;
    const qint64 middle = lower.end - qMin(upperHalf, qMax(minimumPiece, largestPiece));
    const Segment upper{middle, middle, lower.end, true};
    lower.end = middle;
    m_segments.push_back(upper);
    return int(m_segments.size()) - 1;
}

void RangePlan::close(int index)
{
    Segment &segment = m_segments.at(size_t(index));
    segment.end = segment.position;
}
