// The settings window in a real X session: from the settings command to the window's first frame (first
// and warm), resident memory before, while open and after closing; and, with an output folder, pictures
// of every tab in both palettes for people to look at.
//   scripts/desktop-session.sh build/dev/bench/bench_settings [build/dev/test-artifacts]

#include "App/AppState.h"
#include "BenchSupport.h"
#include "Shell/AppCoordinator.h"
#include "UI/SettingsWindowController.h"
#include "UI/Theme.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QQmlEngine>
#include <QQuickView>
#include <QSGRendererInterface>
#include <QTemporaryDir>

#include <cstdio>
#include <unistd.h>

namespace {

double residentMegabytes()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.value(1).toDouble() * double(::sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

// Milliseconds from the command to the first frame the window puts on screen.
double openToFirstFrame(AppCoordinator &coordinator)
{
    const qint64 start = steadyNanoseconds();
    qint64 framed = 0;
    QMetaObject::Connection connection;
    coordinator.openSettings();
    QQuickView *window = coordinator.settingsWindowController()->window();
    connection = QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
        if (!framed)
            framed = steadyNanoseconds();
    });
    waitUntil([&] { return framed != 0; }, 10000);
    QObject::disconnect(connection);
    return framed ? double(framed - start) / 1e6 : -1;
}

void closeSettings(AppCoordinator &coordinator)
{
    coordinator.settingsWindowController()->window()->close();
    spin(300);
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fprintf(stderr, "bench_settings: needs an X session (scripts/desktop-session.sh)\n");
        return 1;
    }
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", (home.path() + QStringLiteral("/config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", (home.path() + QStringLiteral("/data")).toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QString outputDir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();

    AppCoordinator coordinator({home.path() + QStringLiteral("/config/settings.json"),
                                home.path() + QStringLiteral("/data/history.sqlite"),
                                home.path() + QStringLiteral("/config/windows.ini"), QUrl()});
    spin(500);
    const double before = residentMegabytes();
    const double first = openToFirstFrame(coordinator);
    spin(500);
    const double open = residentMegabytes();
    closeSettings(coordinator);
    const double warm = openToFirstFrame(coordinator);
    closeSettings(coordinator);
    spin(500);
    const double after = residentMegabytes();
    std::printf("settings window, command to first frame: first %.1f ms, warm %.1f ms\n", first, warm);
    std::printf("resident memory: before %.1f MB, open %.1f MB, after closing %.1f MB\n", before, open,
                after);

    if (outputDir.isEmpty() || !QDir().mkpath(outputDir))
        return 0;
    coordinator.openSettings();
    QQuickView *window = coordinator.settingsWindowController()->window();
    Theme *theme = window->engine()->singletonInstance<Theme *>(qmlTypeId("Halcy", 1, 0, "Theme"));
    const char *tabs[] = {"general", "clipboard", "mirror", "desktop", "permissions", "about"};
    for (const bool dark : {false, true}) {
        if (theme)
            theme->setDark(dark);
        for (int tab = 0; tab < 6; ++tab) {
            coordinator.appState()->setSelectedSettingsTab(SettingsTab(tab));
            spin(400);
            const QString path =
                QStringLiteral("%1/settings-%2-%3.png")
                    .arg(outputDir, QLatin1String(tabs[tab]), QLatin1String(dark ? "dark" : "light"));
            if (!window->grabWindow().save(path))
                std::fprintf(stderr, "bench_settings: could not write %s\n", qPrintable(path));
        }
    }
    std::printf("pictures of every tab in %s\n", qPrintable(outputDir));
    return 0;
}
