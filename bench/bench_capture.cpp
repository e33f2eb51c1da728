// Clipboard capture on the real X clipboard: how long a copy made in another process takes to reach
// the history, how many of a fast burst of copies are kept, what the idle monitor costs, and how often
// the whole application wakes up at rest (hub closed, 200 items), per thread.
// Needs an X session: scripts/desktop-session.sh build/<dir>/bench/bench_capture [--idle SECONDS]
#include "BenchSupport.h"
#include "Clipboard/ClipboardMonitor.h"
#include "Clipboard/ClipboardStore.h"
#include "HalcyProcess.h"
#include "Platform/X11/X11FrontmostApplication.h"
#include "Platform/X11/X11Pasteboard.h"

#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QHash>
#include <QSet>
#include <QTemporaryDir>

#include <cstdio>
#include <sys/resource.h>

namespace {

// Notes when each text first reached the published history.
class TimingDelegate final : public ClipboardMonitorDelegate
{
public:
    QHash<QString, qint64> publishedAt;
    QStringList messages;

    bool isCaptureEnabled() const override { return true; }
    void watch(ClipboardStore *store)
    {
        QObject::connect(store, &ClipboardStore::entryInserted, store,
                         [this](const ClipboardHistoryEntry &entry) {
                             if (entry.textContent && !publishedAt.contains(*entry.textContent))
                                 publishedAt.insert(*entry.textContent, steadyNanoseconds());
                         });
    }
    void reportStatus(const QString &message) override { messages.append(message); }
};

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fprintf(stderr, "bench_capture needs an X session: run it through scripts/desktop-session.sh\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication app(argc, argv);

    QTemporaryDir dir;
    // A file store, as the application uses, so that every capture pays for a real transaction.
    auto store = openBenchStore(dir.filePath(QStringLiteral("history.sqlite")));
    if (!store)
        return 1;
    X11Pasteboard pasteboard;
    X11FrontmostApplication frontmost;
    TimingDelegate delegate;
    delegate.watch(store.get());
    ClipboardMonitor monitor(&pasteboard, store.get(), &frontmost, &delegate);
    monitor.start();

    PeerProcess peer(QStringLiteral(HALCY_CLIPBOARD_PEER));
    if (!startClipboardPeer(peer, {QStringLiteral("--stdin")}))
        return 1;

    // (a) One copy at a time: from the moment the other process holds the clipboard to the record
    // being saved and published.
    constexpr int samples = 100;
    Figures latencies;
    int missed = 0;
    for (int i = 0; i < samples; ++i) {
        const QString text = QStringLiteral("latency sample %1 %2").arg(i).arg(steadyNanoseconds());
        peer.writeLine(text);
        const std::optional<QString> reply = peer.readLine(5000);
        if (!reply || !reply->startsWith(QLatin1String("copied "))) {
            std::fprintf(stderr, "peer did not copy sample %d\n", i);
            return 1;
        }
        const qint64 copiedAt = reply->mid(7).toLongLong();
        const QDeadlineTimer deadline(3000);
        while (!delegate.publishedAt.contains(text) && !deadline.hasExpired())
            spinEventLoop(1);
        if (!delegate.publishedAt.contains(text)) {
            ++missed;
            continue;
        }
        latencies.addNanoseconds(delegate.publishedAt.value(text) - copiedAt);
        spinEventLoop(20);
    }
    std::printf("capture latency, %d single copies (copy in another process -> saved and published):\n",
                samples);
    if (!latencies.empty())
        std::printf("  median %.1f ms, mean %.1f ms, p90 %.1f ms, best %.1f ms, worst %.1f ms, missed %d\n",
                    latencies.median(), latencies.mean(), latencies.at(0.9), latencies.at(0.0),
                    latencies.worst(), missed);
    else
        std::printf("  nothing captured, missed %d\n", missed);

    // (b) A burst of 200 copies 20 ms apart.
    constexpr int burst = 200;
    const QString prefix = QStringLiteral("burst-%1-").arg(steadyNanoseconds());
    const int changesBefore = int(pasteboard.changeCount());
    peer.writeLine(QStringLiteral("!burst %1 20 %2").arg(burst).arg(prefix));
    const std::optional<QString> done = peer.readLine(burst * 20 + 10000);
    spinEventLoop(1500);
    const int changesSeen = int(pasteboard.changeCount()) - changesBefore;
    QSet<QString> captured;
    for (const ClipboardHistoryEntry &entry : store->entries()) {
        if (entry.textContent && entry.textContent->startsWith(prefix))
            captured.insert(*entry.textContent);
    }
    std::printf("rapid copies, %d texts 20 ms apart%s:\n", burst, done ? "" : " (peer did not finish)");
    std::printf("  captured %lld of %d; clipboard changes noticed %d\n", qint64(captured.size()), burst,
                changesSeen);

    peer.stop();
    spinEventLoop(500);

    // (c) Idle: nothing copied for 20 s.
    constexpr int idleSeconds = 20;
    const qint64 idleChanges = pasteboard.changeCount();
    const double cpuBefore = cpuSeconds();
    spinEventLoop(idleSeconds * 1000);
    const double cpu = cpuSeconds() - cpuBefore;
    std::printf("idle monitor over %d s: %.1f ms CPU (%.3f %% of one core), %lld clipboard changes\n",
                idleSeconds, cpu * 1000, cpu * 100 / idleSeconds, pasteboard.changeCount() - idleChanges);

    if (!delegate.messages.isEmpty())
        std::printf("status messages: %s\n", qPrintable(delegate.messages.join(QStringLiteral("; "))));

    // (d) The application at rest: 200 items in its history, hub closed, nothing copied.
    int restSeconds = 60;
    if (const qsizetype i = app.arguments().indexOf(QStringLiteral("--idle")); i > 0)
        restSeconds = app.arguments().value(i + 1).toInt();
    HalcyProcess halcy(QStringLiteral(HALCY_BINARY));
    {
        auto history = openBenchStore(halcy.dataHome() + QStringLiteral("/Halcy/history.sqlite"));
        if (!history)
            return 1;
        for (int i = 0; i < ClipboardStore::defaultHistoryLimit; ++i)
            history->insert(
                *ClipboardCapture::fromString(QStringLiteral("resting item %1").arg(i), QString()));
    }
    if (!halcy.start()) {
        std::fprintf(stderr, "halcy did not start: %s\n", qPrintable(halcy.log()));
        return 1;
    }
    spinEventLoop(5000);
    const ProcessProbe probe(halcy.pid());
    const QMap<QString, qint64> before = probe.contextSwitches();
    spinEventLoop(restSeconds * 1000);
    const QMap<QString, qint64> after = probe.contextSwitches();
    qint64 total = 0;
    QStringList perThread;
    for (auto it = after.cbegin(); it != after.cend(); ++it) {
        const qint64 wakeups = it.value() - before.value(it.key());
        total += wakeups;
        if (wakeups > 0)
            perThread.append(QStringLiteral("%1 %2").arg(it.key()).arg(wakeups));
    }
    std::printf("application at rest over %d s (200 items, hub closed): %.2f wake-ups/s (%lld in all: %s)\n",
                restSeconds, double(total) / restSeconds, total,
                qPrintable(perThread.join(QStringLiteral(", "))));
    return 0;
}
