// Large copies on the real X clipboard, made by another process: 100 MB of text and a 40-megapixel PNG
// of noise (both over the limits), a 40-megapixel greyscale PNG (under it), 15 MiB of text and a
// 3000x3000 PNG. For each, against the monitor and store in this process: how late a 1 ms timer on the
// GUI thread came at worst, whether it was recorded, and the resident memory before, at its peak, right
// after and some seconds later. Then the last two against the application itself: its resident memory
// before, at its peak, 5 s and 30 s after the copy.
// Needs an X session: scripts/desktop-session.sh build/<dir>/bench/bench_large_copy [--settle SECONDS]
#include "BenchSupport.h"
#include "Clipboard/ClipboardMonitor.h"
#include "Clipboard/ClipboardStore.h"
#include "HalcyProcess.h"
#include "Platform/X11/X11FrontmostApplication.h"
#include "Platform/X11/X11Pasteboard.h"
#include "RecordingMonitorDelegate.h"
#include "StallMeter.h"

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <cstdio>
#include <unistd.h>

namespace {

QString writeTextFile(const QString &path, qsizetype size)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return QString();
    const QByteArray line = "the quick brown fox jumps over the lazy dog, 0123456789\n";
    QByteArray block;
    while (block.size() < 1024 * 1024)
        block += line;
    for (qsizetype written = 0; written < size;) {
        const qsizetype n = std::min(block.size(), size - written);
        file.write(block.constData(), n);
        written += n;
    }
    return path;
}

QString writeNoisePNG(const QString &path, QImage::Format format, QSize size = QSize(8000, 5000))
{
    QImage image(size, format);
    QRandomGenerator generator(40);
    for (int y = 0; y < image.height(); ++y)
        generator.fillRange(reinterpret_cast<quint32 *>(image.scanLine(y)), image.bytesPerLine() / 4);
    if (format == QImage::Format_RGB32) {
        // Opaque, so the encoder writes three channels.
        for (int y = 0; y < image.height(); ++y) {
            auto *pixels = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = 0; x < image.width(); ++x)
                pixels[x] |= 0xff000000u;
        }
    }
    return image.save(path, "PNG") ? path : QString();
}

struct Measurement
{
    qint64 lateMs = 0;
    StallMeter::Gap stall;
    bool recorded = false;
    qint64 recordedAfterMs = -1;
    double rssBefore = 0;
    double rssAfter = 0;
    double rssLater = 0;
    double peakDuring = 0;
};

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fprintf(stderr,
                     "bench_large_copy needs an X session: run it through scripts/desktop-session.sh\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication app(argc, argv);
    int settleSeconds = 5;
    const QStringList args = app.arguments();
    if (const qsizetype i = args.indexOf(QStringLiteral("--settle")); i > 0 && i + 1 < args.size())
        settleSeconds = args.at(i + 1).toInt();

    QTemporaryDir dir;
    std::printf(
        "preparing the copies (100 MB and 15 MiB of text, two 8000x5000 PNGs, a 3000x3000 PNG) ...\n");
    std::fflush(stdout);
    const QString text = writeTextFile(dir.filePath(QStringLiteral("large.txt")), 100 * 1024 * 1024);
    const QString noise = writeNoisePNG(dir.filePath(QStringLiteral("noise.png")), QImage::Format_RGB32);
    const QString grey = writeNoisePNG(dir.filePath(QStringLiteral("grey.png")), QImage::Format_Grayscale8);
    const QString mediumText = writeTextFile(dir.filePath(QStringLiteral("medium.txt")), 15 * 1024 * 1024);
    const QString photo =
        writeNoisePNG(dir.filePath(QStringLiteral("photo.png")), QImage::Format_RGB32, QSize(3000, 3000));
    if (text.isEmpty() || noise.isEmpty() || grey.isEmpty() || mediumText.isEmpty() || photo.isEmpty()) {
        std::fprintf(stderr, "cannot write the test files\n");
        return 1;
    }

    auto store = openBenchStore(dir.filePath(QStringLiteral("history.sqlite")));
    if (!store)
        return 1;
    X11Pasteboard pasteboard;
    X11FrontmostApplication frontmost;
    RecordingMonitorDelegate delegate;
    delegate.watch(store.get());
    ClipboardMonitor monitor(&pasteboard, store.get(), &frontmost, &delegate);
    monitor.start();
    std::printf("reading the clipboard %s\n",
                pasteboard.readsInBackground() ? "on its own thread" : "in place");
    std::fflush(stdout);
    spinEventLoop(1000);

    struct Copy
    {
        const char *label;
        QString type;
        QString file;
    };
    const QList<Copy> copies{{"100 MB of text", QStringLiteral("text/plain"), text},
                             {"40 MP noise PNG", QStringLiteral("image/png"), noise},
                             {"40 MP greyscale PNG", QStringLiteral("image/png"), grey},
                             {"15 MiB of text", QStringLiteral("text/plain"), mediumText},
                             {"3000x3000 PNG", QStringLiteral("image/png"), photo}};
    const ProcessProbe self;
    for (const Copy &copy : copies) {
        const qint64 bytes = QFile(copy.file).size();
        Measurement m;
        self.resetPeak();
        m.rssBefore = self.residentMB();
        const int publicationsBefore = delegate.publications();
        const qint64 changesBefore = pasteboard.changeCount();

        StallMeter stalls(1);
        stalls.start();
        PeerProcess peer(QStringLiteral(HALCY_CLIPBOARD_PEER));
        if (!startClipboardPeer(peer, {QStringLiteral("--data"), copy.type + QLatin1Char('=') + copy.file},
                                60000))
            return 1;
        // From the moment the other process holds the clipboard until well after the monitor has dealt
        // with it: reading, hashing and saving included.
        QElapsedTimer sinceCopy;
        sinceCopy.start();
        while (sinceCopy.elapsed() < 5000) {
            spinEventLoop(5);
            if (m.recordedAfterMs < 0 && delegate.publications() > publicationsBefore)
                m.recordedAfterMs = sinceCopy.elapsed();
        }
        m.lateMs = stalls.stop() - 1;
        m.stall = stalls.longest();
        m.recorded = delegate.publications() > publicationsBefore;
        m.rssAfter = self.residentMB();
        m.peakDuring = self.peakMB();
        peer.stop();
        spinEventLoop(settleSeconds * 1000);
        m.rssLater = self.residentMB();

        std::printf("%s (%.1f MB %s, %lld clipboard change(s)):\n", copy.label,
                    double(bytes) / (1024.0 * 1024.0), qPrintable(copy.type),
                    pasteboard.changeCount() - changesBefore);
        std::printf("  1 ms GUI timer late by %lld ms at worst (of that gap the GUI thread ran %.1f ms and "
                    "waited %.1f ms for a CPU); %s",
                    m.lateMs, m.stall.runningMs, m.stall.waitingForCpuMs,
                    m.recorded ? "recorded" : "not recorded");
        if (m.recorded)
            std::printf(" %lld ms after the copy", m.recordedAfterMs);
        std::printf("\n  RSS %.1f MB before, %.1f MB right after, %.1f MB %d s later (peak during the copy "
                    "%.1f MB)\n",
                    m.rssBefore, m.rssAfter, m.rssLater, settleSeconds, m.peakDuring);
        std::fflush(stdout);
    }

    // Nothing is stuck afterwards: an ordinary copy is recorded at once.
    const int publicationsBefore = delegate.publications();
    PeerProcess small(QStringLiteral(HALCY_CLIPBOARD_PEER));
    QElapsedTimer elapsed;
    elapsed.start();
    if (startClipboardPeer(small, {QStringLiteral("--text"), QStringLiteral("an ordinary copy")})) {
        while (delegate.publications() == publicationsBefore && elapsed.elapsed() < 5000)
            spinEventLoop(1);
        std::printf("an ordinary copy afterwards: %s after %lld ms\n",
                    delegate.publications() > publicationsBefore ? "recorded" : "NOT recorded",
                    elapsed.elapsed());
    }
    if (!delegate.messages.isEmpty())
        std::printf("status messages: %s\n", qPrintable(delegate.messages.join(QStringLiteral("; "))));

    // The application itself, one fresh instance per copy; the copying process stays the owner.
    for (const Copy &copy : copies.mid(3)) {
        HalcyProcess halcy(QStringLiteral(HALCY_BINARY));
        if (!halcy.start()) {
            std::fprintf(stderr, "halcy did not start: %s\n", qPrintable(halcy.log()));
            return 1;
        }
        spinEventLoop(3000);
        const ProcessProbe probe(halcy.pid());
        const double before = probe.residentMB();
        probe.resetPeak();
        PeerProcess peer(QStringLiteral(HALCY_CLIPBOARD_PEER));
        if (!startClipboardPeer(peer, {QStringLiteral("--data"), copy.type + QLatin1Char('=') + copy.file},
                                60000))
            return 1;
        spinEventLoop(5000);
        const double at5 = probe.residentMB();
        spinEventLoop(25000);
        const double at30 = probe.residentMB();
        const double peak = probe.peakMB();
        auto history = openBenchStore(halcy.dataHome() + QStringLiteral("/Halcy/history.sqlite"));
        const bool recorded = history && !history->entries().isEmpty();
        const double copyMB = double(QFile(copy.file).size()) / (1024.0 * 1024.0);
        std::printf("the application, %s (%.1f MB, %s): RSS %.1f MB before, peak +%.1f MB (%.1fx the copy), "
                    "+%.1f MB 5 s after, +%.1f MB 30 s after\n",
                    copy.label, copyMB, recorded ? "recorded" : "NOT recorded", before, peak - before,
                    (peak - before) / copyMB, at5 - before, at30 - before);
        std::fflush(stdout);
    }
    return 0;
}
