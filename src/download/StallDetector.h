#pragma once

#include <chrono>

// Tells a connection that has received nothing for too long from one that is merely slow:
// each arrival of data resets the clock.
class StallDetector {
public:
    using Clock = std::chrono::steady_clock;

    explicit StallDetector(Clock::time_point start = Clock::now()) : m_lastData(start) {}

    void dataArrived(Clock::time_point now = Clock::now()) { m_lastData = now; }
    bool stalled(std::chrono::milliseconds limit, Clock::time_point now = Clock::now()) const
    {
        return now - m_lastData >= limit;
    }

private:
    Clock::time_point m_lastData;
};
