#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <algorithm>

// Measures how responsive the GUI thread stays: a timer ticks on it (every 10 ms unless told), and the
// longest gap between two ticks (or between the last tick and now) is how long the thread was held up at
// worst; that gap less the tick is how late the timer came.
class StallMeter final
{
public:
    explicit StallMeter(int tickMs = 10)
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(tickMs);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { tick(); });
    }

    void start()
    {
        m_longestGapMs = 0;
        m_ticks = 0;
        m_sinceTick.start();
        m_timer.start();
    }
    int ticks() const { return m_ticks; }
    qint64 stop()
    {
        m_timer.stop();
        m_longestGapMs = std::max(m_longestGapMs, m_sinceTick.elapsed());
        return m_longestGapMs;
    }

private:
    void tick()
    {
        m_longestGapMs = std::max(m_longestGapMs, m_sinceTick.restart());
        ++m_ticks;
    }

    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    qint64 m_longestGapMs = 0;
    int m_ticks = 0;
};
