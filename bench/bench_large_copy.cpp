// Huge copies on the real X clipboard: another process copies 100 MB of text, then a 40-megapixel PNG
// of noise (over the image limit), then a 40-megapixel greyscale PNG (under it). For each: the longest
// the GUI thread was held up (gap between ticks of a 10 ms timer), whether it was recorded, and the
// resident memory before, right after and 60 s later.
// Needs an X session: scripts/desktop-session.sh build/<dir>/bench/bench_large_copy [--settle SECONDS]
#include "BenchSupport.h"
#include "Clipboard/ClipboardMonitor.h"
#include "Clipboard/ClipboardStore.h"
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

// Starts a new peak for peakResidentMB().
void resetPeakResident()
{
    QFile clearRefs(QStringLiteral("/proc/self/clear_refs"));
    if (clearRefs.open(QIODevice::WriteOnly))
        clearRefs.write("5");
}

double peakResidentMB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return double(line.mid(6).trimmed().split(' ').value(0).toLongLong()) / 1024.0;
    }
    return -1;
}

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

QString writeNoisePNG(const QString &path, QImage::Format format)
{
    QImage image(8000, 5000, format);
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
    qint64 stallMs = 0;
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
    int settleSeconds = 60;
    const QStringList args = app.arguments();
    if (const qsizetype i = args.indexOf(QStringLiteral("--settle")); i > 0 && i + 1 < args.size())
        settleSeconds = args.at(i + 1).toInt();

    QTemporaryDir dir;
    std::printf("preparing the copies (100 MB of text, two 8000x5000 PNGs) ...\n");
    std::fflush(stdout);
    const QString text = writeTextFile(dir.filePath(QStringLiteral("large.txt")), 100 * 1024 * 1024);
    const QString noise = writeNoisePNG(dir.filePath(QStringLiteral("noise.png")), QImage::Format_RGB32);
    const QString grey = writeNoisePNG(dir.filePath(QStringLiteral("grey.png")), QImage::Format_Grayscale8);
    if (text.isEmpty() || noise.isEmpty() || grey.isEmpty()) {
        std::fprintf(stderr, "cannot write the test files\n");
        return 1;
    }

    auto store = openBenchStore(dir.filePath(QStringLiteral("history.sqlite")));
    if (!store)
        return 1;
    X11Pasteboard pasteboard;
    X11FrontmostApplication frontmost;
    RecordingMonitorDelegate delegate;
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
                             {"40 MP greyscale PNG", QStringLiteral("image/png"), grey}};
    for (const Copy &copy : copies) {
        const qint64 bytes = QFile(copy.file).size();
        Measurement m;
        resetPeakResident();
        m.rssBefore = residentMB();
        const int publicationsBefore = delegate.publications();
        const qint64 changesBefore = pasteboard.changeCount();

        StallMeter stalls;
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
        m.stallMs = stalls.stop();
        m.recorded = delegate.publications() > publicationsBefore;
        m.rssAfter = residentMB();
        m.peakDuring = peakResidentMB();
        peer.stop();
        spinEventLoop(settleSeconds * 1000);
        m.rssLater = residentMB();

        std::printf("%s (%.1f MB %s, %lld clipboard change(s)):\n", copy.label,
                    double(bytes) / (1024.0 * 1024.0), qPrintable(copy.type),
                    pasteboard.changeCount() - changesBefore);
        std::printf("  longest GUI-thread stall %lld ms; %s", m.stallMs,
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
    return 0;
}
