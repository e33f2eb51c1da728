// The mirror bubble on the test-pattern camera (640×480 at 30 fps, a GStreamer device provider built
// with the tests), in a real X session: frames that reach the screen per second and the longest gap
// between two of them, over several runs; the process's CPU while the bubble is open; the time from
// opening the bubble to its first camera frame on screen; resident memory before, while open and ten
// seconds after closing.
//
//   scripts/desktop-session.sh build/dev/bench/bench_mirror [--runs 10] [--seconds 60]

#include "BenchSupport.h"
#include "Mirror/MicrophoneLevelMonitor.h"
#include "Mirror/MirrorCameraEngine.h"
#include "Mirror/MirrorPreviewItem.h"
#include "Mirror/MirrorWindowController.h"
#include "Mirror/QtCameraBackend.h"
#include "Platform/Pasteboard.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QQuickItem>
#include <QQuickView>
#include <QSGRendererInterface>

#include <sys/resource.h>

namespace {

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

struct ThreadCpu
{
    QByteArray name;
    double seconds = 0;
};

// CPU seconds spent so far by each thread of this process.
std::vector<ThreadCpu> threadCpu()
{
    const double ticks = double(sysconf(_SC_CLK_TCK));
    std::vector<ThreadCpu> threads;
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile stat(tasks.filePath(task) + QStringLiteral("/stat"));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        const QByteArray line = stat.readAll();
        const qsizetype nameStart = line.indexOf('(') + 1;
        const qsizetype nameEnd = line.lastIndexOf(')');
        // After the name: the state, then utime and stime as the 12th and 13th fields.
        const QList<QByteArray> fields = line.mid(nameEnd + 2).split(' ');
        if (nameStart > 0 && nameEnd > nameStart && fields.size() > 12)
            threads.push_back({line.mid(nameStart, nameEnd - nameStart),
                               double(fields.at(11).toLongLong() + fields.at(12).toLongLong()) / ticks});
    }
    return threads;
}

// GStreamer names a streaming thread after the element that drives it: the test camera's source is
// where its pattern is drawn, work a real camera does in its own hardware.
constexpr char cameraSourceThread[] = "camerasrc";

double cameraSourceCpuSeconds()
{
    double seconds = 0;
    for (const ThreadCpu &thread : threadCpu()) {
        if (thread.name.startsWith(cameraSourceThread))
            seconds += thread.seconds;
    }
    return seconds;
}

// Resident memory that is no file's pages (heap, stacks, buffers): what closing the bubble can give back.
double anonymousResidentMB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("RssAnon:"))
            return double(line.mid(8).trimmed().split(' ').value(0).toLongLong()) / 1024.0;
    }
    return -1;
}

struct Run
{
    double firstFrameMs = -1;
    double fps = 0;
    double longestGapMs = 0;
    double cpuPercent = 0;
    double cameraCpuPercent = 0;
};

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("GST_PLUGIN_PATH"))
        qputenv("GST_PLUGIN_PATH", HALCY_FAKE_CAMERA_DIR);
    // As the app draws.
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QApplication app(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption runsOption(QStringLiteral("runs"), QStringLiteral("Runs."), QStringLiteral("n"),
                                        QStringLiteral("10"));
    const QCommandLineOption secondsOption(QStringLiteral("seconds"), QStringLiteral("Seconds per run."),
                                           QStringLiteral("s"), QStringLiteral("60"));
    const QCommandLineOption threadsOption(QStringLiteral("threads"),
                                           QStringLiteral("List every thread's CPU time at the end."));
    parser.addOptions({runsOption, secondsOption, threadsOption});
    parser.process(app);
    const int runs = parser.value(runsOption).toInt();
    const int seconds = parser.value(secondsOption).toInt();

    const std::unique_ptr<Pasteboard> pasteboard = Pasteboard::createDefault();
    MirrorCameraEngine engine(std::make_unique<QtCameraBackend>(), pasteboard.get(), QString());
    if (engine.devices().isEmpty()) {
        std::fprintf(stderr, "No camera: build the tests (the fake camera plugin) or set GST_PLUGIN_PATH.\n");
        return 1;
    }
    MicrophoneLevelMonitor microphone{QString()};
    MirrorWindowController controller(&engine, &microphone);
    const double rssBefore = residentMB();
    const double anonymousBefore = anonymousResidentMB();
    double rssOpen = 0;
    double anonymousOpen = 0;

    std::printf("mirror bubble, camera \"%s\", %d runs of %d s\n", qPrintable(engine.devices().first().name),
                runs, seconds);
    std::printf("run  first frame ms  frames/s  longest gap ms  CPU %% Halcy  CPU %% test camera\n");
    std::vector<Run> results;
    for (int i = 0; i < runs; ++i) {
        Run run;
        qint64 drawnAt = 0, lastShown = 0, shown = 0;
        const qint64 openedAt = steadyNanoseconds();
        controller.show();
        auto *preview = controller.window()->rootObject()->findChild<MirrorPreviewItem *>(
            QStringLiteral("mirrorPreview"));
        QMetaObject::Connection drawnConnection =
            QObject::connect(preview, &MirrorPreviewItem::frameDrawn, [&] { drawnAt = steadyNanoseconds(); });
        // A camera frame is on screen once the window that drew it has been presented.
        QMetaObject::Connection swapConnection =
            QObject::connect(controller.window(), &QQuickWindow::frameSwapped, [&] {
                if (!drawnAt)
                    return;
                const qint64 now = steadyNanoseconds();
                if (run.firstFrameMs < 0)
                    run.firstFrameMs = double(now - openedAt) / 1e6;
                else if (shown > 0)
                    run.longestGapMs = std::max(run.longestGapMs, double(now - lastShown) / 1e6);
                lastShown = now;
                ++shown;
                drawnAt = 0;
            });
        waitUntil([&] { return run.firstFrameMs >= 0; }, 10000);
        shown = 1;
        const double cpuStart = cpuSeconds();
        const double cameraCpuStart = cameraSourceCpuSeconds();
        const qint64 wallStart = steadyNanoseconds();
        spin(seconds * 1000);
        const double wall = double(steadyNanoseconds() - wallStart) / 1e9;
        // A run that stalled for good counts its gap up to the end.
        if (lastShown)
            run.longestGapMs = std::max(run.longestGapMs, double(steadyNanoseconds() - lastShown) / 1e6);
        run.fps = double(shown - 1) / wall;
        run.cameraCpuPercent = 100.0 * (cameraSourceCpuSeconds() - cameraCpuStart) / wall;
        run.cpuPercent = 100.0 * (cpuSeconds() - cpuStart) / wall - run.cameraCpuPercent;
        rssOpen = std::max(rssOpen, residentMB());
        anonymousOpen = std::max(anonymousOpen, anonymousResidentMB());
        QObject::disconnect(drawnConnection);
        QObject::disconnect(swapConnection);
        if (parser.isSet(threadsOption)) {
            std::vector<ThreadCpu> threads = threadCpu();
            std::sort(threads.begin(), threads.end(),
                      [](const ThreadCpu &a, const ThreadCpu &b) { return a.seconds > b.seconds; });
            for (const ThreadCpu &thread : threads)
                std::printf("     %8.2f s  %s\n", thread.seconds, thread.name.constData());
        }
        controller.close();
        std::printf("%3d  %14.0f  %8.1f  %14.0f  %10.1f  %16.1f\n", i + 1, run.firstFrameMs, run.fps,
                    run.longestGapMs, run.cpuPercent, run.cameraCpuPercent);
        std::fflush(stdout);
        results.push_back(run);
        spin(1000);
    }
    spin(10000);
    const double rssAfter = residentMB();
    const double anonymousAfter = anonymousResidentMB();

    const auto good = std::count_if(results.begin(), results.end(),
                                    [](const Run &r) { return r.fps >= 25 && r.longestGapMs <= 200; });
    Figures first, fps, cpu, cameraCpu;
    for (const Run &r : results) {
        first.add(r.firstFrameMs);
        fps.add(r.fps);
        cpu.add(r.cpuPercent);
        cameraCpu.add(r.cameraCpuPercent);
    }
    std::printf("runs with >= 25 frames/s and no gap over 200 ms: %ld of %d\n", long(good), runs);
    std::printf("first frame on screen: median %.0f ms, worst %.0f ms\n", first.median(), first.worst());
    std::printf("frames/s: worst %.1f, median %.1f\n", fps.at(0), fps.median());
    std::printf("CPU of one core while open: Halcy median %.1f %%, worst %.1f %%; the test camera's pattern "
                "median %.1f %%\n",
                cpu.median(), cpu.worst(), cameraCpu.median());
    std::printf("resident memory: %.1f MB before, %.1f MB open, %.1f MB 10 s after closing\n", rssBefore,
                rssOpen, rssAfter);
    std::printf("  of which anonymous: %.1f MB, %.1f MB, %.1f MB\n", anonymousBefore, anonymousOpen,
                anonymousAfter);
    return 0;
}
