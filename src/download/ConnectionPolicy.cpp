#include "download/ConnectionPolicy.h"

#include <algorithm>

namespace {

// A growth is worth keeping when it raised the throughput by at least this share: less could be
// the noise of a busy machine, and connections that gain nothing cost the server and this
// machine work for every byte.
constexpr double worthwhileGain = 1.3;
// Connections that each brought at least this share of what the earlier ones averaged.
constexpr double fullShare = 0.85;

} // namespace

int ConnectionPolicy::next(int connections, double rate)
{
    if (m_settled)
        return connections;
    if (m_connectionsBefore > 0 && rate < m_rateBefore * worthwhileGain) {
        m_settled = true;
        // The added connections gained too little: the link or this machine is the limit.
        return m_connectionsBefore;
    }
    if (connections >= maximumConnections) {
        m_settled = true;
        return connections;
    }
    const bool capped =
        m_connectionsBefore > 0 && rate >= m_rateBefore / m_connectionsBefore * connections * fullShare;
    // The first growth is a cheap probe; after one that scaled, the count jumps further.
    const int factor = capped ? 4 : 2;
    m_rateBefore = rate;
    m_connectionsBefore = connections;
    return std::min(maximumConnections, connections * factor);
}
