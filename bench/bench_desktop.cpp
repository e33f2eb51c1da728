// Hide Desktop in a real X session with two monitors side by side (best with
// HALCY_SESSION_SCREEN=3840x1080 scripts/desktop-session.sh build/…/bench/bench_desktop [SCREENSHOT_DIR]):
//   (a) for each fill, the time from hiding to covers drawn on both monitors (the backdrop included
//       for the wallpaper and blur fills), with the software renderer as the app uses it;
//   (b) a monitor added while hidden: from Qt's notice to the new covers drawn (0.05 s of that is the
//       coalescing delay, on purpose);
//   (c) resident memory with covers up, for each fill, against the same process without covers.
// With a directory argument, a screenshot of each fill goes there.

#include "BenchSupport.h"
#include "Desktop/DesktopBackdrop.h"
#include "Desktop/DesktopCoverManager.h"
#include "Desktop/DesktopCoverWindow.h"
#include "DesktopTools.h"
#include "PeerProcess.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPainter>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QScreen>

#include <cstdio>
#include <functional>
#include <unistd.h>

namespace {

double residentMegabytes()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.value(1).toDouble() * double(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

bool xrandr(const QStringList &arguments)
{
    const std::optional<ToolResult> result = runTool(QStringLiteral("xrandr"), arguments);
    return result && result->exitCode == 0;
}

// Hides the desktop and waits until every cover has drawn a frame, after its backdrop when the fill
// has one; the time in ms, or a negative number when it did not happen.
double hideAndWaitForFrames(DesktopCoverManager &manager, DesktopFill fill)
{
    DesktopCoverConfiguration configuration;
    configuration.fill = fill;
    manager.setConfiguration(configuration);
    manager.setHidden(true);
    int framesDue = 0;
    bool backdrops = !DesktopBackdrop::showsWallpaper(fill);
    QList<QMetaObject::Connection> connections;
    QObject context;
    QElapsedTimer timer;
    timer.start();
    const auto countFrames = [&] {
        framesDue = int(manager.covers().size());
        for (DesktopCoverWindow *cover : manager.covers())
            QObject::connect(
                cover, &QQuickWindow::frameSwapped, &context, [&framesDue] { --framesDue; },
                Qt::SingleShotConnection);
    };
    QObject::connect(&manager, &DesktopCoverManager::backdropsApplied, &context, [&] {
        backdrops = true;
        countFrames();
    });
    manager.rebuildCovers();
    countFrames();
    if (!waitUntil([&] { return backdrops && framesDue <= 0; }))
        return -1;
    return double(timer.nsecsElapsed()) / 1e6;
}

} // namespace

int main(int argc, char **argv)
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QApplication app(argc, argv);
    if (QGuiApplication::platformName() != QLatin1String("xcb")) {
        std::fprintf(stderr, "needs an X session: scripts/desktop-session.sh %s\n", argv[0]);
        return 1;
    }
    if (app.arguments().value(1) == QLatin1String("--memory")) {
        const std::optional<DesktopFill> fill = enumFromName<DesktopFill>(app.arguments().value(2));
        DesktopCoverManager manager;
        waitUntil([] { return false; }, 500);
        const double before = residentMegabytes();
        if (!fill || hideAndWaitForFrames(manager, *fill) < 0)
            return 1;
        waitUntil([] { return false; }, 1000);
        const double with = residentMegabytes();
        std::printf("%6.1f → %6.1f (+%.1f)\n", before, with, with - before);
        return 0;
    }
    const QString shots = app.arguments().value(1);
    const QRect root = QGuiApplication::primaryScreen()->virtualGeometry();
    const int half = root.width() / 2;
    xrandr(
        {"--setmonitor", "LEFT", QStringLiteral("%1/254x%2/286+0+0").arg(half).arg(root.height()), "screen"});
    xrandr(
        {"--setmonitor", "RIGHT", QStringLiteral("%1/254x%2/286+%1+0").arg(half).arg(root.height()), "none"});
    waitUntil([] { return QGuiApplication::screens().size() == 2; });
    std::printf("two monitors of %dx%d\n", half, root.height());

    // A wallpaper with detail, so the blur has something to do.
    QImage wallpaper(root.size(), QImage::Format_RGB32);
    {
        QPainter painter(&wallpaper);
        QLinearGradient gradient(0, 0, root.width(), root.height());
        gradient.setColorAt(0, QColor(40, 90, 160));
        gradient.setColorAt(1, QColor(230, 140, 60));
        painter.fillRect(wallpaper.rect(), gradient);
        for (int x = 0; x < root.width(); x += 120)
            painter.fillRect(x, 0, 8, root.height(), Qt::white);
    }
    publishRootBackground(wallpaper);

    DesktopCoverManager manager;
    const DesktopFill fills[] = {DesktopFill::systemMaterial, DesktopFill::solidInk, DesktopFill::blur,
                                 DesktopFill::matchWallpaper};
    std::printf("\n(a) hide → covers drawn on both monitors, ms (best / median / worst of 10)\n");
    for (DesktopFill fill : fills) {
        Figures figures;
        for (int i = 0; i < 10; ++i) {
            manager.removeCovers();
            figures.add(hideAndWaitForFrames(manager, fill));
        }
        std::printf("  %-15s %7.1f / %7.1f / %7.1f\n", qPrintable(enumName(fill)), figures.at(0),
                    figures.median(), figures.worst());
        if (!shots.isEmpty()) {
            QDir().mkpath(shots);
            runTool(QStringLiteral("import"),
                    {"-window", "root", QDir(shots).filePath("desktop-cover-" + enumName(fill) + ".png")});
        }
    }
    manager.removeCovers();

    // Each fill in a fresh process, so that one fill's freed memory does not count for the next.
    std::printf("\n(c) resident memory, MB, without covers → with covers\n");
    for (DesktopFill fill : fills) {
        const std::optional<ToolResult> child =
            runTool(app.applicationFilePath(), {QStringLiteral("--memory"), enumName(fill)}, {}, 60000);
        std::printf("  %-15s %s\n", qPrintable(enumName(fill)),
                    child ? child->output.trimmed().constData() : "did not run");
    }

    std::printf("\n(b) monitor added while hidden → covers rebuilt and drawn, ms\n");
    Figures rebuilds;
    for (int i = 0; i < 5; ++i) {
        manager.removeCovers();
        hideAndWaitForFrames(manager, DesktopFill::matchWallpaper);
        QElapsedTimer timer;
        int framesDue = -1;
        QObject context;
        QObject::connect(qApp, &QGuiApplication::screenAdded, &context, [&timer] { timer.start(); });
        QObject::connect(&manager, &DesktopCoverManager::coversRebuilt, &context, [&] {
            framesDue = int(manager.covers().size());
            for (DesktopCoverWindow *cover : manager.covers())
                QObject::connect(
                    cover, &QQuickWindow::frameSwapped, &context, [&framesDue] { --framesDue; },
                    Qt::SingleShotConnection);
        });
        xrandr({"--setmonitor", "THIRD", "640/169x480/127+100+100", "none"});
        if (waitUntil([&] { return framesDue == 0; }))
            rebuilds.addNanoseconds(timer.nsecsElapsed());
        xrandr({"--delmonitor", "THIRD"});
        waitUntil([] { return QGuiApplication::screens().size() == 2; });
    }
    std::printf("  median %.1f, worst %.1f (%zu runs)\n", rebuilds.median(), rebuilds.worst(),
                rebuilds.count());

    manager.removeCovers();
    publishRootBackground(QImage());
    xrandr({"--delmonitor", "RIGHT"});
    xrandr({"--delmonitor", "LEFT"});
    return 0;
}
