#pragma once

// The line protocol the Qt peers speak with the tests: answers are single lines on standard output,
// flushed at once so the test never waits on a buffer; commands arrive as lines on standard input, and
// the end of input ends the peer.

#include <QByteArray>
#include <QCoreApplication>
#include <QSocketNotifier>

#include <cstdio>
#include <functional>
#include <unistd.h>

inline void say(const QByteArray &line)
{
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

class StdinLines final : public QObject
{
public:
    explicit StdinLines(std::function<void(const QByteArray &)> onLine)
        : m_notifier(STDIN_FILENO, QSocketNotifier::Read), m_onLine(std::move(onLine))
    {
        connect(&m_notifier, &QSocketNotifier::activated, this, [this] { read(); });
    }

private:
    void read()
    {
        char buffer[4096];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            m_notifier.setEnabled(false);
            QCoreApplication::quit();
            return;
        }
        m_pending.append(buffer, n);
        qsizetype newline;
        while ((newline = m_pending.indexOf('\n')) >= 0) {
            const QByteArray line = m_pending.left(newline);
            m_pending.remove(0, newline + 1);
            m_onLine(line);
        }
    }

    QSocketNotifier m_notifier;
    std::function<void(const QByteArray &)> m_onLine;
    QByteArray m_pending;
};
