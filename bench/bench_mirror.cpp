// The mirror bubble on the test-pattern camera (640×480 at 30 fps, a GStreamer device provider built
// with the tests), in a real X session: frames that reach the screen per second and the longest gap
// between two of them, over several runs; the process's CPU while the bubble is open; the time from
// opening the bubble to its first camera frame on screen. Then resident memory of the real application
// before `halcy toggle-mirror`, while the bubble is open and ten seconds after closing it, over a few
// toggles: this process is no measure of that, as it loads Qt Quick only on the first show while the
// application has it loaded from the start.
//
//   scripts/desktop-session.sh build/dev/bench/bench_mirror [--runs 10] [--seconds 60]

#include "BenchSupport.h"
#include "HalcyProcess.h"
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

struct Run
{
    double firstFrameMs = -1;
    double fps = 0;
    double longestGapMs = 0;
    double cpuPercent = 0;
    double cameraCpuPercent = 0;
};

struct Memory
{
    double anonymous = 0;
    double file = 0;
};

Memory memoryOf(const ProcessProbe &probe)
{
    return {probe.anonymousMB(), probe.fileMB()};
}

void printMemory(const char *label, const Memory &memory)
{
    std::printf("  %-22s %6.1f MB  (anonymous %5.1f, files %5.1f)\n", label, memory.anonymous + memory.file,
                memory.anonymous, memory.file);
}

// The application as a user runs it, with the test camera: resident memory at rest, with the bubble
// open (the camera streaming for five seconds) and ten seconds after closing it, `toggles` times.
bool measureApplication(int toggles)
{
    HalcyProcess halcy(QStringLiteral(HALCY_BINARY));
    halcy.setEnvironmentValue(QStringLiteral("GST_PLUGIN_PATH"), qEnvironmentVariable("GST_PLUGIN_PATH"));
    if (!halcy.start()) {
        std::fprintf(stderr, "halcy did not start: %s\n", qPrintable(halcy.log()));
        return false;
    }
    const ProcessProbe probe(halcy.pid());
    spin(5000);
    std::printf("resident memory of halcy around `halcy toggle-mirror`:\n");
    const Memory before = memoryOf(probe);
    printMemory("before", before);
    Memory after;
    for (int i = 1; i <= toggles; ++i) {
        if (halcy.runClient({QStringLiteral("toggle-mirror")}) != 0)
            return false;
        const bool streaming = waitUntil(
            [&] {
                const QStringList threads = probe.contextSwitches().keys();
                return std::any_of(threads.cbegin(), threads.cend(), [](const QString &name) {
                    return name.startsWith(QLatin1String(cameraSourceThread));
                });
            },
            10000);
        if (!streaming)
            std::fprintf(stderr, "the camera did not start in halcy: %s\n", qPrintable(halcy.log()));
        spin(5000);
        printMemory(qPrintable(QStringLiteral("open %1").arg(i)), memoryOf(probe));
        if (halcy.runClient({QStringLiteral("toggle-mirror")}) != 0)
            return false;
        spin(10000);
        after = memoryOf(probe);
        printMemory(qPrintable(QStringLiteral("10 s after closing %1").arg(i)), after);
    }
    std::printf("  kept after the last close: %+.1f MB (anonymous %+.1f, files %+.1f)\n",
                after.anonymous + after.file - before.anonymous - before.file,
                after.anonymous - before.anonymous, after.file - before.file);
    return true;
}

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
    const QCommandLineOption togglesOption(QStringLiteral("toggles"),
                                           QStringLiteral("Opens and closes of the application's bubble."),
                                           QStringLiteral("n"), QStringLiteral("3"));
    parser.addOptions({runsOption, secondsOption, threadsOption, togglesOption});
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
    return measureApplication(parser.value(togglesOption).toInt()) ? 0 : 1;
}
