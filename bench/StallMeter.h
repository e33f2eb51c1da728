#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <algorithm>
#include <cstdio>

// Measures how responsive the GUI thread stays: a timer ticks on it (every 10 ms unless told), and the
// longest gap between two ticks (or between the last tick and now) is how long the thread was held up at
// worst; that gap less the tick is how late the timer came. On a busy machine much of a gap can be
// spent waiting for a CPU, which is the machine's doing, not the program's: the kernel's account of the
// thread tells how much of the longest gap it ran and how much it waited to run (the rest it slept or
// was blocked).
class StallMeter final
{
public:
    struct Gap
    {
        qint64 ms = 0;
        double runningMs = 0;
        double waitingForCpuMs = 0;
    };

    explicit StallMeter(int tickMs = 10)
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(tickMs);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { tick(); });
    }

    void start()
    {
        m_longest = {};
        m_ticks = 0;
        m_sinceTick.start();
        m_last = schedule();
        m_timer.start();
    }
    int ticks() const { return m_ticks; }
    qint64 stop()
    {
        m_timer.stop();
        measure();
        return m_longest.ms;
    }
    // The longest gap and what the thread did during it; measured on the GUI thread.
    Gap longest() const { return m_longest; }

private:
    struct Schedule
    {
        qint64 runningNs = 0;
        qint64 waitingNs = 0;
    };
    static Schedule schedule()
    {
        Schedule s;
        if (FILE *file = std::fopen("/proc/thread-self/schedstat", "r")) {
            long long running = 0, waiting = 0;
            if (std::fscanf(file, "%lld %lld", &running, &waiting) == 2)
                s = {running, waiting};
            std::fclose(file);
        }
        return s;
    }

    void tick()
    {
        measure();
        ++m_ticks;
    }

    void measure()
    {
        const qint64 gap = m_sinceTick.restart();
        const Schedule now = schedule();
        if (gap > m_longest.ms) {
            m_longest = {gap, double(now.runningNs - m_last.runningNs) / 1e6,
                         double(now.waitingNs - m_last.waitingNs) / 1e6};
        }
        m_last = now;
    }

    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    Schedule m_last;
    Gap m_longest;
    int m_ticks = 0;
};
