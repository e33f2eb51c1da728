// Times the hub as a person meets it, with 200 entries in the history, in a real X session
// (scripts/desktop-session.sh build/…/bench/bench_hub):
//   (a) a real Super+Shift+V press (XTest) to the first frame of the hub on screen: the first show and
//       20 warm shows;
//   (b) one character typed into the search (XTest) to the first frame showing the new results, and the
//       same split into ranking + model reset (synchronous) and the wait for the next frame;
//   (c) ClipboardSearch::rank alone over 10,000 entries.

#include "App/AppState.h"
#include "BenchSupport.h"
#include "Clipboard/ClipboardCapture.h"
#include "Clipboard/ClipboardListModel.h"
#include "Clipboard/ClipboardSearch.h"
#include "Clipboard/ClipboardStore.h"
#include "Shell/AppCoordinator.h"
#include "Shell/StatusItemController.h"
#include "UI/HubController.h"
#include "UI/HubPopover.h"

#include <QApplication>
#include <QBuffer>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QImage>
#include <QQuickView>
#include <QRandomGenerator>
#include <QSGRendererInterface>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QTimer>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

void printRow(const char *what, const Figures &figures)
{
    std::printf("  %-44s median %8.2f ms   worst %8.2f ms   (n=%zu)\n", what, figures.median(),
                figures.worst(), figures.count());
}

// Keys pressed through XTest reach the server exactly like a keyboard's.
class Keyboard
{
public:
    explicit Keyboard(Display *display) : m_display(display) {}

    void tap(const std::vector<KeySym> &modifiers, KeySym key)
    {
        for (const KeySym modifier : modifiers)
            XTestFakeKeyEvent(m_display, XKeysymToKeycode(m_display, modifier), True, CurrentTime);
        XTestFakeKeyEvent(m_display, XKeysymToKeycode(m_display, key), True, CurrentTime);
        XTestFakeKeyEvent(m_display, XKeysymToKeycode(m_display, key), False, CurrentTime);
        for (auto it = modifiers.rbegin(); it != modifiers.rend(); ++it)
            XTestFakeKeyEvent(m_display, XKeysymToKeycode(m_display, *it), False, CurrentTime);
        XFlush(m_display);
    }

private:
    Display *m_display;
};

const QStringList words{"meeting", "notes",  "invoice", "release", "draft",  "budget",   "server", "deploy",
                        "review",  "agenda", "project", "update",  "design", "feature",  "ticket", "weekly",
                        "café",    "résumé", "Straße",  "the",     "and",    "customer", "report", "summary"};
const QStringList sources{"Firefox", "Terminal", "Text Editor", "Files", "Thunderbird", "GIMP"};

QString sentence(QRandomGenerator &random, int count)
{
    QStringList parts;
    for (int i = 0; i < count; ++i)
        parts << words.at(random.bounded(words.size()));
    return parts.join(u' ');
}

std::optional<ClipboardCapture> makeCapture(QRandomGenerator &random, int index, const QByteArray &png)
{
    const QString source = sources.at(random.bounded(sources.size()));
    switch (random.bounded(10)) {
    case 0:
    case 1:
        return ClipboardCapture::fromString(QStringLiteral("https://www.example-%1.com/%2?id=%3")
                                                .arg(random.bounded(40))
                                                .arg(words.at(random.bounded(words.size())))
                                                .arg(index),
                                            source);
    case 2:
        return ClipboardCapture::fromString(
            QStringLiteral("#%1").arg(random.bounded(0x1000000), 6, 16, QLatin1Char('0')), source);
    case 3:
        return ClipboardCapture::fromFileURLs(
            {QUrl::fromLocalFile(QStringLiteral("/home/ada/Documents/%1-%2.pdf")
                                     .arg(words.at(random.bounded(words.size())))
                                     .arg(index))},
            source);
    case 4:
        if (index % 3 == 0)
            return ClipboardCapture::fromImage(png, index, source);
        [[fallthrough]];
    case 5:
        return ClipboardCapture::fromString(sentence(random, 12) + QLatin1Char('\n') + sentence(random, 18),
                                            source);
    default:
        return ClipboardCapture::fromString(
            sentence(random, 1 + random.bounded(8)) + QStringLiteral(" #%1").arg(index), source);
    }
}

QByteArray samplePng()
{
    QImage image(320, 200, QImage::Format_RGB32);
    image.fill(QColor(70, 130, 200));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

ClipboardHistoryEntries makeEntries(int count)
{
    QRandomGenerator random(20260307);
    const QByteArray png = samplePng();
    const QDateTime now = QDateTime::currentDateTime();
    ClipboardHistoryEntries entries;
    for (int i = 0; entries.size() < count; ++i) {
        const std::optional<ClipboardCapture> capture = makeCapture(random, i, png);
        if (!capture)
            continue;
        entries << entryFromCapture(*capture, now.addSecs(-41 * i));
    }
    return entries;
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", (home.path() + QStringLiteral("/config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", (home.path() + QStringLiteral("/data")).toLocal8Bit());
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fprintf(stderr, "bench_hub needs an X session: scripts/desktop-session.sh %s\n", argv[0]);
        return 1;
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication app(argc, argv);
    // As the app does: the software renderer unless QT_QUICK_BACKEND asks for another.
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    auto *x11 = app.nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->display()) {
        std::fprintf(stderr, "bench_hub: no Xlib display\n");
        return 1;
    }
    Keyboard keyboard(x11->display());

    // 200 entries of every kind, on disk as the app keeps them.
    const QString historyPath = home.path() + QStringLiteral("/data/history.sqlite");
    {
        std::unique_ptr<ClipboardStore> store =
            ClipboardStore::open(historyPath, ClipboardStore::defaultHistoryLimit);
        QRandomGenerator random(7);
        const QByteArray png = samplePng();
        const QDateTime start = QDateTime::currentDateTime().addSecs(-3 * 24 * 3600);
        for (int i = 0, stored = 0; stored < 200; ++i) {
            std::optional<ClipboardCapture> capture = makeCapture(random, i, png);
            if (!capture)
                continue;
            capture->timestamp = start.addSecs(20 * 60 * i);
            if (store && store->insert(*capture))
                ++stored;
        }
    }

    AppCoordinator coordinator({home.path() + QStringLiteral("/config/settings.json"), historyPath},
                               AppCoordinator::Platform::createDefault());
    coordinator.start();
    StatusItemController *status = coordinator.statusItemController();
    HubPopover *hub = status->popover();
    if (!waitUntil([&] { return hub->view() && hub->view()->rootObject(); }))
        return std::fprintf(stderr, "bench_hub: the hub was not built\n"), 1;
    const bool docked = waitUntil([&] { return status->trayIcon()->geometry().width() > 0; }, 5000);
    spin(500);
    QQuickView *view = hub->view();
    AppState *state = coordinator.appState();
    ClipboardListModel *model = hub->controller()->model();
    std::printf("bench_hub: %lld entries in the history, tray icon %s, Qt Quick %s\n",
                static_cast<long long>(state->clipboardEntries().size()), docked ? "docked" : "not docked",
                view->rendererInterface()->graphicsApi() == QSGRendererInterface::Software
                    ? "software renderer"
                    : "hardware-API renderer");

    // The first frame after a mark, stamped where the frame is swapped (the render thread, if any).
    std::atomic<bool> armed{false};
    std::atomic<qint64> swappedAt{0};
    QObject::connect(
        view, &QQuickWindow::frameSwapped, view,
        [&] {
            if (armed.exchange(false))
                swappedAt = steadyNanoseconds();
        },
        Qt::DirectConnection);
    const auto arm = [&] {
        swappedAt = 0;
        armed = true;
    };

    // (a) shortcut to first frame; the moment the hub is asked to show splits input from drawing.
    qint64 showCalledAt = 0;
    QObject::connect(hub, &HubPopover::shownChanged, view, [&](bool shown) {
        if (shown)
            showCalledAt = steadyNanoseconds();
    });
    Figures firstShow;
    Figures warmShows;
    Figures firstShowDrawing;
    Figures warmShowsDrawing;
    for (int run = 0; run <= 20; ++run) {
        arm();
        const qint64 pressed = steadyNanoseconds();
        keyboard.tap({XK_Super_L, XK_Shift_L}, XK_v);
        if (!waitUntil([&] { return hub->isShown() && swappedAt != 0; }))
            return std::fprintf(stderr, "bench_hub: the shortcut did not show the hub (run %d)\n", run), 1;
        (run == 0 ? firstShow : warmShows).add((swappedAt - pressed) / 1e6);
        (run == 0 ? firstShowDrawing : warmShowsDrawing).add((swappedAt - showCalledAt) / 1e6);
        spin(150);
        keyboard.tap({XK_Super_L, XK_Shift_L}, XK_v);
        if (!waitUntil([&] { return !hub->isShown(); }))
            return std::fprintf(stderr, "bench_hub: the shortcut did not close the hub (run %d)\n", run), 1;
        spin(200);
    }
    std::printf("\n(a) Super+Shift+V (XTest) to the hub's first frame, 200 entries\n");
    printRow("first show", firstShow);
    printRow("warm shows", warmShows);
    printRow("  of which show() to first frame: first", firstShowDrawing);
    printRow("  of which show() to first frame: warm", warmShowsDrawing);

    // (b) one character typed into the search
    keyboard.tap({XK_Super_L, XK_Shift_L}, XK_v);
    if (!waitUntil([&] { return hub->isShown() && view->isActive(); }))
        return std::fprintf(stderr, "bench_hub: the hub did not open for typing\n"), 1;
    spin(300);
    qint64 resetAt = 0;
    QObject::connect(model, &QAbstractItemModel::modelReset, view, [&] {
        resetAt = steadyNanoseconds();
        arm();
    });
    Figures typed;
    Figures erased;
    const KeySym letters[] = {XK_e, XK_r, XK_a, XK_t, XK_s, XK_n, XK_o, XK_i, XK_d, XK_u};
    for (int run = 0; run < 20; ++run) {
        for (const bool erase : {false, true}) {
            resetAt = 0;
            swappedAt = 0;
            const qint64 pressed = steadyNanoseconds();
            keyboard.tap({}, erase ? XK_BackSpace : letters[run % 10]);
            if (!waitUntil([&] { return resetAt != 0 && swappedAt != 0; }))
                return std::fprintf(stderr, "bench_hub: no new results on screen after a key (run %d)\n",
                                    run),
                       1;
            (erase ? erased : typed).add((swappedAt - pressed) / 1e6);
            spin(120);
        }
    }
    if (!state->searchQuery().isEmpty())
        std::fprintf(stderr, "bench_hub: the search was left at \"%s\"\n", qPrintable(state->searchQuery()));

    Figures rankAndReset;
    Figures resetToFrame;
    for (int run = 0; run < 20; ++run) {
        for (const QString &query : {QString(QChar(u"eratsnoidu"[run % 10])), QString()}) {
            QElapsedTimer timer;
            timer.start();
            state->setSearchQuery(query);
            const qint64 doneAt = steadyNanoseconds();
            if (!query.isEmpty())
                rankAndReset.add(timer.nsecsElapsed() / 1e6);
            if (!waitUntil([&] { return swappedAt != 0; }))
                return std::fprintf(stderr, "bench_hub: no frame after a search (run %d)\n", run), 1;
            if (!query.isEmpty())
                resetToFrame.add((swappedAt - doneAt) / 1e6);
            spin(120);
        }
    }
    std::printf("\n(b) one character typed into the search, 200 entries\n");
    printRow("key (XTest) to the frame with the results", typed);
    printRow("Backspace (XTest) to the frame, full list", erased);
    printRow("ranking + model reset (synchronous)", rankAndReset);
    printRow("then to the next frame (layout + render)", resetToFrame);

    // (c) ranking alone
    const ClipboardHistoryEntries large = makeEntries(10000);
    std::printf("\n(c) ClipboardSearch::rank over %lld entries\n", static_cast<long long>(large.size()));
    Figures allQueries;
    for (const QString &query :
         {QStringLiteral("e"), QStringLiteral("in"), QStringLiteral("notes"), QStringLiteral("https"),
          QStringLiteral("resume"), QStringLiteral("qzxjv")}) {
        Figures figures;
        qsizetype matches = 0;
        for (int run = 0; run < 15; ++run) {
            QElapsedTimer timer;
            timer.start();
            matches = ClipboardSearch::rank(large, query).size();
            const double ms = double(timer.nsecsElapsed()) / 1e6;
            figures.add(ms);
            allQueries.add(ms);
        }
        const QByteArray label = QStringLiteral("\"%1\" (%2 matches)").arg(query).arg(matches).toUtf8();
        printRow(label.constData(), figures);
    }
    printRow("all queries", allQueries);

    coordinator.shutdown();
    return 0;
}
