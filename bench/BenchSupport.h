#pragma once

// Figures and plumbing shared by the benchmarks.

#include "Clipboard/ClipboardCapture.h"
#include "Clipboard/ClipboardHistoryEntry.h"
#include "Clipboard/ClipboardStore.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QMap>
#include <QTimer>
#include <QUuid>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <numeric>
#include <vector>

#include <unistd.h>

#ifdef HALCY_CLIPBOARD_PEER
#include "PeerProcess.h"
#endif

inline qint64 steadyNanoseconds()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Runs the event loop until `done` holds or the time is up.
inline bool waitUntil(const std::function<bool()> &done, int timeoutMs = 5000)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

// What the kernel tells of a process ("self" for this one): resident memory, its peak since the last
// resetPeak(), and how often its threads were switched off the CPU, which counts its wake-ups.
class ProcessProbe final
{
public:
    explicit ProcessProbe(qint64 pid = 0)
        : m_dir(pid > 0 ? QStringLiteral("/proc/%1").arg(pid) : QStringLiteral("/proc/self"))
    {
    }

    double residentMB() const { return statusValue(m_dir + QStringLiteral("/status"), "VmRSS:") / 1024.0; }
    double peakMB() const { return statusValue(m_dir + QStringLiteral("/status"), "VmHWM:") / 1024.0; }
    // The resident part that is no file's pages (heaps, stacks, buffers), and the part that is (code
    // and data of the libraries, fonts).
    double anonymousMB() const { return statusValue(m_dir + QStringLiteral("/status"), "RssAnon:") / 1024.0; }
    double fileMB() const { return statusValue(m_dir + QStringLiteral("/status"), "RssFile:") / 1024.0; }
    void resetPeak() const
    {
        QFile clearRefs(m_dir + QStringLiteral("/clear_refs"));
        if (clearRefs.open(QIODevice::WriteOnly))
            clearRefs.write("5");
    }
    // Voluntary and involuntary context switches per thread name, summed over threads of one name.
    QMap<QString, qint64> contextSwitches() const
    {
        QMap<QString, qint64> switches;
        const QString tasks = m_dir + QStringLiteral("/task");
        for (const QString &task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            const QString path = tasks + QLatin1Char('/') + task + QLatin1Char('/');
            QFile comm(path + QStringLiteral("comm"));
            const QString name =
                comm.open(QIODevice::ReadOnly) ? QString::fromUtf8(comm.readAll().trimmed()) : task;
            switches[name] += statusValue(path + QStringLiteral("status"), "voluntary_ctxt_switches:") +
                              statusValue(path + QStringLiteral("status"), "nonvoluntary_ctxt_switches:");
        }
        return switches;
    }

private:
    static qint64 statusValue(const QString &path, const QByteArray &key)
    {
        QFile status(path);
        if (!status.open(QIODevice::ReadOnly))
            return -1;
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith(key))
                return line.mid(key.size()).trimmed().split(' ').value(0).toLongLong();
        }
        return -1;
    }

    QString m_dir;
};

// Resident memory of this process.
inline double residentMB()
{
    return ProcessProbe().residentMB();
}

inline void spin(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// Timings in milliseconds.
class Figures final
{
public:
    void add(double ms) { m_ms.push_back(ms); }
    void addNanoseconds(qint64 ns) { add(double(ns) / 1e6); }
    size_t count() const { return m_ms.size(); }
    bool empty() const { return m_ms.empty(); }
    // Nearest rank: 0 is the best, 0.5 the median, 1 the worst.
    double at(double fraction) const
    {
        if (m_ms.empty())
            return 0;
        std::vector<double> sorted = m_ms;
        std::sort(sorted.begin(), sorted.end());
        return sorted.at(std::min(sorted.size() - 1, size_t(fraction * double(sorted.size() - 1) + 0.5)));
    }
    double median() const { return at(0.5); }
    double worst() const { return at(1.0); }
    double mean() const
    {
        return m_ms.empty() ? 0 : std::accumulate(m_ms.begin(), m_ms.end(), 0.0) / double(m_ms.size());
    }

private:
    std::vector<double> m_ms;
};

// The history file every benchmark writes to, or nothing after saying why.
inline std::unique_ptr<ClipboardStore> openBenchStore(const QString &path,
                                                      int limit = ClipboardStore::defaultHistoryLimit)
{
    QString error;
    auto store = ClipboardStore::open(path, limit, &error);
    if (!store)
        std::fprintf(stderr, "cannot open the store: %s\n", qPrintable(error));
    return store;
}

// A history entry as the store would hold it after `capture`.
inline ClipboardHistoryEntry entryFromCapture(const ClipboardCapture &capture, const QDateTime &when,
                                              bool pinned = false)
{
    ClipboardHistoryEntry entry;
    entry.id = QUuid::createUuid();
    entry.title = capture.title;
    entry.preview = capture.preview;
    entry.type = capture.type;
    entry.sourceAppName = capture.sourceAppName;
    entry.timestamp = when;
    entry.isPinned = pinned;
    if (capture.textContent)
        entry.textContent = QString::fromUtf8(*capture.textContent);
    entry.fileURLStrings = capture.fileURLStrings;
    entry.imageBookmark = capture.imageBookmark;
    return entry;
}

#ifdef HALCY_CLIPBOARD_PEER
// Starts the clipboard peer with `arguments`, or says why it could not.
inline bool startClipboardPeer(PeerProcess &peer, const QStringList &arguments, int timeoutMs = 10000)
{
    if (peer.start(arguments, timeoutMs))
        return true;
    std::fprintf(stderr, "the clipboard peer did not start: %s\n", qPrintable(peer.errorOutput()));
    return false;
}
#endif
