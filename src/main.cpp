#include "App/InstanceChannel.h"
#include "Core/Logging.h"
#include "Platform/DesktopSession.h"
#include "Platform/TerminationSignals.h"
#include "Shell/AppCoordinator.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QThread>

#include <cstdio>

namespace {

QString verbDescriptions()
{
    return QStringLiteral("Commands for the running instance:\n"
                          "  show            open or close the hub (the default when Halcy already runs)\n"
                          "  toggle-mirror   open or close the mirror\n"
                          "  toggle-desktop  hide or show the desktop\n"
                          "  settings        open the settings window\n"
                          "  quit            quit Halcy");
}

void printLine(FILE *stream, const QString &text)
{
    std::fprintf(stream, "%s\n", qPrintable(text));
}

// A second launch hands its verb to the running instance, which may still be starting up.
int forwardToRunningInstance(int argc, char **argv, const QString &verb)
{
    QCoreApplication app(argc, argv);
    QElapsedTimer clock;
    clock.start();
    InstanceChannel::SendResult result = InstanceChannel::SendResult::notRunning;
    while (clock.elapsed() < 5000) {
        result = InstanceChannel::send(verb);
        if (result != InstanceChannel::SendResult::notRunning)
            break;
        QThread::msleep(100);
    }
    if (result == InstanceChannel::SendResult::delivered) {
        printLine(stdout, QStringLiteral("Halcy is already running; passed on \"%1\".").arg(verb));
        return 0;
    }
    printLine(stderr, QStringLiteral("Halcy is already running but did not answer \"%1\".").arg(verb));
    return 1;
}

void dispatch(AppCoordinator &coordinator, const QString &verb)
{
    if (verb == QLatin1String("show"))
        coordinator.toggleHub();
    else if (verb == QLatin1String("toggle-mirror"))
        coordinator.toggleMirror();
    else if (verb == QLatin1String("toggle-desktop"))
        coordinator.toggleDesktopCover();
    else if (verb == QLatin1String("settings"))
        coordinator.openSettings();
    else if (verb == QLatin1String("quit"))
        coordinator.quit();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication::setApplicationName(QStringLiteral("halcy"));
    QCoreApplication::setApplicationVersion(QStringLiteral(HALCY_VERSION));

    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Halcy: clipboard history, camera mirror and Hide Desktop from the tray.\n\n") +
        verbDescriptions());
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption versionOption = parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("One of the commands below (optional)."),
                                 QStringLiteral("[command]"));
    if (!parser.parse(arguments)) {
        printLine(stderr, parser.errorText());
        return 2;
    }
    if (parser.isSet(helpOption) || parser.isSet(QStringLiteral("help-all")) || parser.isSet(versionOption)) {
        // The parser names the executable and lists Qt's own options only with an application
        // object; an offscreen one needs no display, so help works over ssh and under Wayland too.
        qputenv("QT_QPA_PLATFORM", "offscreen");
        QGuiApplication helpApp(argc, argv);
        parser.process(helpApp); // prints and exits
        return 0;
    }
    const QStringList positional = parser.positionalArguments();
    const QString verb = positional.value(0);
    if (positional.size() > 1 || (!verb.isEmpty() && !InstanceChannel::verbs().contains(verb))) {
        printLine(stderr,
                  QStringLiteral("Unknown command \"%1\". Try: halcy --help").arg(positional.join(u' ')));
        return 2;
    }

    InstanceChannel channel;
    if (!channel.claim())
        return forwardToRunningInstance(argc, argv, verb.isEmpty() ? QStringLiteral("show") : verb);
    if (!verb.isEmpty() && verb != QLatin1String("show")) {
        printLine(stderr, QStringLiteral("Halcy is not running."));
        return 1;
    }

    DesktopSession::preferX11();
    const QString unavailable = DesktopSession::unavailableReason();
    if (!unavailable.isEmpty()) {
        printLine(stderr, unavailable);
        return 1;
    }

    // The hub is a plain list: Qt Quick's software renderer draws it well and keeps a tray utility
    // tens of megabytes lighter than a GL context would (QT_QUICK_BACKEND still overrides this).
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);

    QApplication app(argc, argv);
    // No display name: Qt would append it to every window title ("Halcy Settings — Halcy").
    QGuiApplication::setDesktopFileName(QStringLiteral("halcy"));
    // A tray utility: closing its windows never ends it.
    QApplication::setQuitOnLastWindowClosed(false);

    AppCoordinator coordinator;
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &coordinator, &AppCoordinator::shutdown);
    TerminationSignals::install(&app, [](int number) {
        qCInfo(lcApp) << "Signal" << number << "received, quitting";
        QCoreApplication::quit();
    });
    QObject::connect(&channel, &InstanceChannel::verbReceived, &coordinator,
                     [&coordinator](const QString &received) { dispatch(coordinator, received); });
    channel.listen();

    coordinator.start();
    qCInfo(lcApp) << "Halcy" << HALCY_VERSION << "started";
    if (verb == QLatin1String("show"))
        coordinator.toggleHub();
    return app.exec();
}
