#pragma once

// The line protocol the Qt peers speak with the tests: answers are single lines on standard output,
// flushed at once so the test never waits on a buffer; commands arrive as lines on standard input, and
// the end of input ends the peer.

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

inline void say(const QByteArray &line)
{
    std::printf("%s\n", line.constData());
    std::fflush(stdout);
}

// Hands every line that arrives on standard input to `onLine`, from the event loop.
template <typename OnLine> void readLines(OnLine onLine)
{
    auto notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [=, pending = QByteArray()]() mutable {
        char buffer[4096];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            notifier->setEnabled(false);
            QCoreApplication::quit();
            return;
        }
        pending.append(buffer, n);
        for (qsizetype newline; (newline = pending.indexOf('\n')) >= 0; pending.remove(0, newline + 1))
            onLine(pending.left(newline));
    });
}
