#pragma once

// How many connections one download uses. Starting from one, the count grows while each
// growth still raises the throughput enough; the growth that gained too little is taken back.
// When every connection added brought its full share, the server caps each connection rather
// than the link being full, so the count grows faster.
class ConnectionPolicy {
public:
    // Politeness towards the server, whatever the measurements say.
    static constexpr int maximumConnections = 16;

    // The throughput (bytes per second) measured with `connections` running; returns how many
    // should run from now on.
    int next(int connections, double rate);
    bool settled() const { return m_settled; }

private:
    double m_rateBefore = 0;
    int m_connectionsBefore = 0;
    bool m_settled = false;
};
