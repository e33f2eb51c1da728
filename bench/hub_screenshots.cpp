// Pictures of the open hub for people to look at, in the light and the dark palette, with a history
// that shows every kind of row and section. Run in an X session:
//   scripts/desktop-session.sh build/dev/bench/hub_screenshots build/dev/test-artifacts
// Writes hub-light.png and hub-dark.png (the window) and hub-*-on-screen.png (the hub in place under
// the tray icon, as grabbed from the screen).

#include "Shell/AppCoordinator.h"
#include "App/AppState.h"
#include "Shell/StatusItemController.h"
#include "BenchSupport.h"
#include "Clipboard/ClipboardCapture.h"
#include "Clipboard/ClipboardStore.h"
#include "UI/HubController.h"
#include "UI/HubPopover.h"
#include "UI/Theme.h"

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QPainter>
#include <QQuickView>
#include <QSGRendererInterface>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTemporaryDir>

#include <cstdio>

namespace {

QByteArray photoPng()
{
    QImage image(240, 160, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, 0, 160);
    sky.setColorAt(0, QColor(0x4a, 0x90, 0xe2));
    sky.setColorAt(1, QColor(0xf5, 0xc2, 0x6b));
    painter.fillRect(image.rect(), sky);
    painter.setBrush(QColor(0x2e, 0x5e, 0x3a));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QPointF(60, 190), 120, 80);
    painter.drawEllipse(QPointF(200, 200), 110, 90);
    painter.setBrush(QColor(0xff, 0xf2, 0xc0));
    painter.drawEllipse(QPointF(180, 45), 18, 18);
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// Newest last; the link is pinned afterwards and the blue colour falls into an earlier day.
QList<ClipboardCapture> history()
{
    const QDateTime now = QDateTime::currentDateTime();
    const auto text = [&](const QString &string, const QString &source, int minutesAgo) {
        ClipboardCapture capture = ClipboardCapture::fromString(string, source).value_or(ClipboardCapture());
        capture.timestamp = now.addSecs(-60 * minutesAgo);
        return capture;
    };
    const auto files = [&](const QStringList &paths, int minutesAgo) {
        QList<QUrl> urls;
        for (const QString &path : paths)
            urls << QUrl::fromLocalFile(path);
        ClipboardCapture capture =
            ClipboardCapture::fromFileURLs(urls, QStringLiteral("Files")).value_or(ClipboardCapture());
        capture.timestamp = now.addSecs(-60 * minutesAgo);
        return capture;
    };
    ClipboardCapture photo = ClipboardCapture::fromImage(photoPng(), 7, QStringLiteral("GIMP"));
    photo.timestamp = now.addSecs(-60 * 10);
    return {text(QStringLiteral("#3D7EFF"), QStringLiteral("Text Editor"), 60 * 25),
            text(QStringLiteral("https://docs.example.org/handbook/onboarding#first-week"),
                 QStringLiteral("Firefox"), 50),
            files({QStringLiteral("/home/ada/Pictures/beach.jpg"),
                   QStringLiteral("/home/ada/Pictures/dunes.jpg")},
                  40),
            text(QStringLiteral("for (auto &row : rows)\n    row.flush();"),
                 QStringLiteral("Visual Studio Code"), 30),
            files({QStringLiteral("/home/ada/Documents/Invoice-2024-03.pdf")}, 20),
            photo,
            text(QStringLiteral("#FF5A4E"), QStringLiteral("GIMP"), 5),
            text(QStringLiteral(
                     "Quarterly budget review moved to Thursday 10:00, room 4B. Bring the Q3 figures."),
                 QStringLiteral("Thunderbird"), 2)};
}

int fail(const char *message)
{
    std::fprintf(stderr, "hub_screenshots: %s\n", message);
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
        return fail("usage: hub_screenshots OUTPUT_DIR");
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return fail("needs an X session (scripts/desktop-session.sh)");
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", (home.path() + QStringLiteral("/config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", (home.path() + QStringLiteral("/data")).toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication app(argc, argv);
    // As the app draws it.
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QString outputDir = QString::fromLocal8Bit(argv[1]);
    if (!QDir().mkpath(outputDir))
        return fail("cannot create the output folder");

    const QString historyPath = home.path() + QStringLiteral("/data/history.sqlite");
    {
        std::unique_ptr<ClipboardStore> store =
            ClipboardStore::open(historyPath, ClipboardStore::defaultHistoryLimit);
        if (!store)
            return fail("cannot create the history");
        for (const ClipboardCapture &capture : history())
            store->insert(capture);
    }
    AppCoordinator coordinator({home.path() + QStringLiteral("/config/settings.json"), historyPath},
                               AppCoordinator::Platform::createDefault());
    coordinator.start();
    // One pinned row, to show all three kinds of section.
    for (const ClipboardHistoryEntry &entry : coordinator.clipboardStore()->entries()) {
        if (entry.type == ClipboardContentType::link)
            coordinator.togglePin(entry.id);
    }
    HubPopover *hub = coordinator.statusItemController()->popover();
    waitUntil([&] { return coordinator.statusItemController()->trayIcon()->geometry().width() > 0; });
    if (!waitUntil([&] { return hub->view() && hub->view()->rootObject(); }))
        return fail("the hub was not built");
    coordinator.toggleHub();
    if (!waitUntil([&] { return hub->isShown() && hub->view()->isExposed(); }))
        return fail("the hub did not open");
    // Time for the image row's thumbnail to load.
    spin(1000);

    QQuickView *view = hub->view();
    for (const bool dark : {false, true}) {
        const QString name = QLatin1String(dark ? "dark" : "light");
        hub->theme()->setDark(dark);
        spin(400);
        const QString windowPath = outputDir + QStringLiteral("/hub-%1.png").arg(name);
        if (!view->grabWindow().save(windowPath))
            return fail("cannot write a picture");
        const QRect hubRect = view->geometry();
        const QRect screen = view->screen()->geometry();
        const QRect region =
            QRect(QPoint(hubRect.left() - 60, 0), QPoint(screen.right(), hubRect.bottom() + 12))
                .intersected(screen);
        if (!view->screen()
                 ->grabWindow(0, region.x(), region.y(), region.width(), region.height())
                 .save(outputDir + QStringLiteral("/hub-%1-on-screen.png").arg(name)))
            return fail("cannot write a picture");
        std::printf("saved %s\n", qPrintable(windowPath));
    }
    coordinator.shutdown();
    return 0;
}
