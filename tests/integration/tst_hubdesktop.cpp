#include "App/AppCoordinator.h"
#include "App/AppState.h"
#include "App/StatusItemController.h"
#include "Clipboard/ClipboardSearch.h"
#include "Clipboard/ClipboardStore.h"
#include "DesktopTools.h"
#include "Hotkeys/HotkeyManager.h"
#include "PeerProcess.h"
#include "TestEnvironment.h"
#include "UI/ClipboardListModel.h"
#include "UI/HubController.h"
#include "UI/HubPopover.h"
#include "X11TestMain.h"

#include <QAction>
#include <QDir>
#include <QImage>
#include <QMenu>
#include <QPainter>
#include <QQuickItem>
#include <QQuickView>
#include <QRegularExpression>
#include <QSGRendererInterface>
#include <QScreen>
#include <QStandardPaths>
#include <QStyleHints>
#include <QSystemTrayIcon>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>

namespace {

const QString clipboardPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/clipboard_peer");
const QString textFieldPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer");
const QString artifactsDir = QStringLiteral(HALCY_TEST_ARTIFACTS_DIR);

// Every log line of the process, to see what a menu item or shortcut ran.
QStringList g_logLines;
QtMessageHandler g_previousHandler = nullptr;

void recordMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    g_logLines.append(QString::fromLatin1(context.category ? context.category : "default") + QLatin1String(": ")
                      + message);
    if (g_previousHandler)
        g_previousHandler(type, context, message);
}

bool logContains(const QString &text)
{
    return std::any_of(g_logLines.cbegin(), g_logLines.cend(),
                       [&](const QString &line) { return line.contains(text); });
}

bool pressKeys(const QString &combination)
{
    return xdotool({QStringLiteral("key"), QStringLiteral("--clearmodifiers"), combination});
}

// A mouse click at a global position, with keys held around it when asked.
bool clickAt(const QPoint &at, int button, const QStringList &heldKeys = {})
{
    // No --sync: it waits forever when the pointer is already where it is sent.
    if (!xdotool({QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y())}))
        return false;
    spinEventLoop(80);
    QStringList arguments;
    if (!heldKeys.isEmpty())
        arguments << QStringLiteral("keydown") << heldKeys.join(u'+');
    arguments << QStringLiteral("click") << QString::number(button);
    if (!heldKeys.isEmpty())
        arguments << QStringLiteral("keyup") << heldKeys.join(u'+');
    return xdotool(arguments);
}

QByteArray clipboardText()
{
    return xclipOutput().value_or(QByteArray());
}

bool typeText(const QString &text)
{
    return xdotool({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("40"), text});
}

qint64 steadyNanoseconds()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Depth first, the item itself before its children.
QQuickItem *firstItem(QQuickItem *root, const std::function<bool(QQuickItem *)> &match)
{
    if (!root || match(root))
        return root;
    const QList<QQuickItem *> children = root->childItems();
    for (QQuickItem *child : children) {
        if (QQuickItem *found = firstItem(child, match))
            return found;
    }
    return nullptr;
}

QPoint globalCentre(QQuickItem *item)
{
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    return item->window()->mapToGlobal(centre.toPoint());
}

// Another X client holding key grabs, as a second program that took a combination first would.
class KeyGrabber final
{
public:
    KeyGrabber() : m_connection(xcb_connect(nullptr, nullptr))
    {
        if (!xcb_connection_has_error(m_connection)) {
            m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
            m_symbols = xcb_key_symbols_alloc(m_connection);
        }
    }
    ~KeyGrabber()
    {
        if (m_symbols)
            xcb_key_symbols_free(m_symbols);
        xcb_disconnect(m_connection);
    }
    KeyGrabber(const KeyGrabber &) = delete;
    KeyGrabber &operator=(const KeyGrabber &) = delete;

    // Grabs the combination in every Caps Lock / Num Lock state; true when the server granted all four.
    bool grab(xcb_keysym_t keysym, uint16_t modifiers)
    {
        if (!m_symbols)
            return false;
        xcb_keycode_t *codes = xcb_key_symbols_get_keycode(m_symbols, keysym);
        const xcb_keycode_t code = codes ? codes[0] : XCB_NO_SYMBOL;
        std::free(codes);
        if (code == XCB_NO_SYMBOL)
            return false;
        bool granted = true;
        const uint16_t lockStates[] = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};
        for (const uint16_t locks : lockStates) {
            const xcb_void_cookie_t cookie = xcb_grab_key_checked(
                m_connection, 0, m_root, modifiers | locks, code, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
            xcb_generic_error_t *error = xcb_request_check(m_connection, cookie);
            granted = granted && !error;
            std::free(error);
        }
        return granted;
    }

private:
    xcb_connection_t *m_connection;
    xcb_window_t m_root = 0;
    xcb_key_symbols_t *m_symbols = nullptr;
};

QImage samplePhoto()
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
    return image;
}

ClipboardCapture textCapture(const QString &text, const QString &source, int minutesAgo)
{
    ClipboardCapture capture = *ClipboardCapture::fromString(text, source);
    capture.timestamp = QDateTime::currentDateTime().addSecs(-60 * minutesAgo);
    return capture;
}

} // namespace

// The whole application in this process against the real desktop: tray host, window manager, key grabs,
// X clipboard and another process's text field, driven with real mouse and keyboard input.
class TestHubDesktop final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void trayIconIsDockedAndItsClicksToggleTheHub();
    void rightClickMenuRunsItsCommands_data();
    void rightClickMenuRunsItsCommands();
    void shortcutsWorkOverAnotherApplicationAndSkipOneTakenByAnotherClient();
    void copyInAnotherApplicationAppearsAtTheTopOfTheOpenHub();
    void pickingARowReachesTheClipboardAndTheFocusedField_data();
    void pickingARowReachesTheClipboardAndTheFocusedField();
    void typingNarrowsTheListAndNonsenseShowsNoMatches();
    void pinFromTheContextMenuMovesTheRowToPinned();
    void screenshotsOfTheOpenHubInBothPalettes();

private:
    QString historyPath() const { return m_env->dataHome() + QStringLiteral("/Halcy/history.sqlite"); }
    void seedHistory(const QList<ClipboardCapture> &captures);
    void startApp();

    HubPopover *hub() const { return m_app->statusItemController()->popover(); }
    QQuickView *view() const { return hub()->view(); }
    ClipboardListModel *model() const { return hub()->controller()->model(); }
    QQuickItem *namedItem(const char *objectName) const
    {
        return view()->rootObject()->findChild<QQuickItem *>(QLatin1String(objectName));
    }
    bool isShowing(const char *objectName) const
    {
        QQuickItem *item = namedItem(objectName);
        return item && item->isVisible();
    }
    QQuickItem *rowItem(const QString &title) const;
    QQuickItem *menuItem(const QString &text) const;
    QStringList modelColumn(ClipboardListModel::Role role) const;
    QRect trayIconGeometry() const;
    bool openHubWithShortcut();
    bool focusPeer(PeerProcess &peer);
    static bool peerHasFocus(PeerProcess &peer);
    QString peerText(PeerProcess &peer);

    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<AppCoordinator> m_app;
};

void TestHubDesktop::initTestCase()
{
    HALCY_REQUIRE_X11_SESSION();
    for (const char *tool : {"xdotool", "xclip", "xwininfo"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
            QSKIP(qPrintable(QStringLiteral("%1 is not installed (scripts/install-deps.sh test)").arg(tool)));
    }
    QVERIFY2(QSystemTrayIcon::isSystemTrayAvailable(), "no tray host in this session");
    // Drawn as the app draws it (see main.cpp).
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    m_env = std::make_unique<TestEnvironment>();
    g_previousHandler = qInstallMessageHandler(recordMessage);
    QVERIFY(QDir().mkpath(artifactsDir));
}

void TestHubDesktop::cleanup()
{
    m_app.reset();
    xdotool({QStringLiteral("keyup"), QStringLiteral("super"), QStringLiteral("shift"), QStringLiteral("ctrl"),
             QStringLiteral("alt")});
    for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")})
        QFile::remove(historyPath() + suffix);
    g_logLines.clear();
    // Let the tray host drop the old icon and the clipboard owners of the case leave.
    spinEventLoop(200);
}

void TestHubDesktop::seedHistory(const QList<ClipboardCapture> &captures)
{
    QVERIFY(QDir().mkpath(QFileInfo(historyPath()).path()));
    QString error;
    std::unique_ptr<ClipboardStore> store =
        ClipboardStore::open(historyPath(), ClipboardStore::defaultHistoryLimit, &error);
    QVERIFY2(store, qPrintable(error));
    for (const ClipboardCapture &capture : captures)
        QVERIFY2(store->insert(capture, &error), qPrintable(error));
}

void TestHubDesktop::startApp()
{
    m_app = std::make_unique<AppCoordinator>(
        AppCoordinator::Locations{m_env->configHome() + QStringLiteral("/Halcy/settings.json"), historyPath()},
        AppCoordinator::Platform::createDefault());
    m_app->start();
    QVERIFY(m_app->statusItemController());
    QVERIFY2(m_app->clipboardStore()->isPersistent(), "the history should be on disk in this test");
    // The tray host docks the icon asynchronously.
    QTRY_VERIFY_WITH_TIMEOUT(trayIconGeometry().isValid(), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(view() && view()->rootObject(), 5000);
}

QRect TestHubDesktop::trayIconGeometry() const
{
    QSystemTrayIcon *icon = m_app->statusItemController()->trayIcon();
    const QRect rect = icon->geometry();
    return icon->isVisible() && rect.width() > 0 && rect.top() >= 0 ? rect : QRect();
}

QQuickItem *TestHubDesktop::rowItem(const QString &title) const
{
    auto *list = namedItem("historyList");
    if (!list)
        return nullptr;
    return firstItem(list->property("contentItem").value<QQuickItem *>(), [&](QQuickItem *item) {
        return item->property("title").toString() == title && item->property("quickNumber").isValid()
            && item->isVisible();
    });
}

// A visible item of an open Qt Quick menu (they live in the window's overlay).
QQuickItem *TestHubDesktop::menuItem(const QString &text) const
{
    return firstItem(view()->contentItem(), [&](QQuickItem *item) {
        return item->inherits("QQuickMenuItem") && item->property("text").toString() == text
            && item->isVisible() && item->opacity() > 0.99;
    });
}

QStringList TestHubDesktop::modelColumn(ClipboardListModel::Role role) const
{
    QStringList values;
    for (int row = 0; row < model()->rowCount(); ++row)
        values << model()->data(model()->index(row), role).toString();
    return values;
}

bool TestHubDesktop::openHubWithShortcut()
{
    if (!pressKeys(QStringLiteral("super+shift+v")))
        return false;
    return QTest::qWaitFor([&] { return hub()->isShown() && view()->isActive(); }, 3000);
}

bool TestHubDesktop::focusPeer(PeerProcess &peer)
{
    return xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"),
                    peer.readyLine().section(QLatin1Char(' '), 1, 1)})
        && peerHasFocus(peer);
}

// Whether the peer's field has the keyboard, waiting a little for it.
bool TestHubDesktop::peerHasFocus(PeerProcess &peer)
{
    return QTest::qWaitFor(
        [&] {
            peer.writeLine(QStringLiteral("focus"));
            return peer.readLine(1000) == QStringLiteral("focus 1");
        },
        3000);
}

QString TestHubDesktop::peerText(PeerProcess &peer)
{
    peer.writeLine(QStringLiteral("text"));
    return peer.readLine(1000).value_or(QString()).mid(5);
}

void TestHubDesktop::trayIconIsDockedAndItsClicksToggleTheHub()
{
    startApp();
    const QRect icon = trayIconGeometry();

    // The icon is a window inside the tray host's tree, where Qt says it is.
    const std::optional<ToolResult> trayer =
        runTool(QStringLiteral("xdotool"), {QStringLiteral("search"), QStringLiteral("--class"), QStringLiteral("trayer")});
    QVERIFY(trayer && !trayer->output.trimmed().isEmpty());
    bool docked = false;
    for (const QByteArray &id : trayer->output.trimmed().split('\n')) {
        const std::optional<ToolResult> tree =
            runTool(QStringLiteral("xwininfo"), {QStringLiteral("-tree"), QStringLiteral("-id"), QString::fromLatin1(id)});
        // e.g.  0x1a00007 "tst_hubdesktop": ("tst_hubdesktop" "tst_hubdesktop")  22x22+0+0  +1850+1
        const QString expected = QStringLiteral("%1x%2\\+-?\\d+\\+-?\\d+\\s+\\+%3\\+%4")
                                     .arg(icon.width())
                                     .arg(icon.height())
                                     .arg(icon.x())
                                     .arg(icon.y());
        docked = docked || (tree && QRegularExpression(expected).match(QString::fromLocal8Bit(tree->output)).hasMatch());
    }
    QVERIFY2(docked, qPrintable(QStringLiteral("no window of the tray host at %1,%2").arg(icon.x()).arg(icon.y())));

    // First click: the hub hangs below the icon, wholly on screen, and takes the keyboard.
    QVERIFY(clickAt(icon.center(), 1));
    QTRY_VERIFY_WITH_TIMEOUT(hub()->isShown() && view()->isActive(), 3000);
    const QRect screen = view()->screen()->geometry();
    QTRY_VERIFY_WITH_TIMEOUT(view()->geometry().top() > icon.bottom(), 2000);
    const QRect placed = view()->geometry();
    QCOMPARE(placed.size(), HubPopover::contentSize);
    QVERIFY2(screen.contains(placed), qPrintable(QStringLiteral("hub at %1,%2 %3x%4").arg(placed.x()).arg(placed.y())
                                                      .arg(placed.width()).arg(placed.height())));
    QVERIFY(placed.top() - icon.bottom() <= 12);
    QVERIFY(placed.left() <= icon.center().x() && icon.center().x() <= placed.right());
    // Where the X server has it, not only where Qt thinks it is.
    const std::optional<ToolResult> info =
        runTool(QStringLiteral("xwininfo"), {QStringLiteral("-id"), QString::number(view()->winId())});
    QVERIFY(info);
    const QString infoText = QString::fromLocal8Bit(info->output);
    const auto absolute = [&](const char *axis) {
        return QRegularExpression(QStringLiteral("Absolute upper-left %1:\\s+(-?\\d+)").arg(QLatin1String(axis)))
            .match(infoText)
            .captured(1)
            .toInt();
    };
    QCOMPARE(QPoint(absolute("X"), absolute("Y")), placed.topLeft());
    QTRY_VERIFY(namedItem("searchField")->hasActiveFocus());

    // Second click on the icon, at a person's pace (a quicker one is a double click, which the tray
    // reports as such): the hub is gone and stays gone, whether the click took the focus from it first
    // or arrived while it still had it.
    const int doubleClickMs = QGuiApplication::styleHints()->mouseDoubleClickInterval();
    spinEventLoop(doubleClickMs + 100);
    QVERIFY(clickAt(icon.center(), 1));
    QTRY_VERIFY_WITH_TIMEOUT(!hub()->isShown(), 2000);
    spinEventLoop(700);
    QVERIFY(!hub()->isShown());

    // A later click opens it again, and a click into another application's window closes it.
    PeerProcess other(textFieldPeer);
    QVERIFY2(other.start({}), qPrintable(other.errorOutput()));
    QVERIFY(xdotool({QStringLiteral("windowmove"), QStringLiteral("--sync"),
                     other.readyLine().section(QLatin1Char(' '), 1, 1), QStringLiteral("200"), QStringLiteral("300")}));
    QVERIFY(clickAt(icon.center(), 1));
    QTRY_VERIFY_WITH_TIMEOUT(hub()->isShown() && view()->isActive(), 3000);
    spinEventLoop(doubleClickMs + 100);
    QVERIFY(hub()->isShown());
    QVERIFY(clickAt(QPoint(300, 320), 1));
    QTRY_VERIFY_WITH_TIMEOUT(!hub()->isShown(), 2000);
    QVERIFY(peerHasFocus(other));
}

void TestHubDesktop::rightClickMenuRunsItsCommands_data()
{
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("logLine");

    // Mirror, Hide Desktop and Settings are not built yet; the commands say so in the log.
    QTest::addRow("Open Halcy opens the hub") << "Open Halcy" << QString();
    QTest::addRow("Mirror") << "Mirror" << "halcy.mirror: The mirror is not available in this build";
    QTest::addRow("Hide Desktop") << "Hide Desktop" << "halcy.desktop: Hide Desktop is not available in this build";
    QTest::addRow("Settings...") << "Settings..." << "halcy.app: The settings window is not available in this build";
}

void TestHubDesktop::rightClickMenuRunsItsCommands()
{
    QFETCH(QString, item);
    QFETCH(QString, logLine);

    startApp();
    QMenu *menu = m_app->statusItemController()->menu();
    QVERIFY(clickAt(trayIconGeometry().center(), 3));
    QTRY_VERIFY_WITH_TIMEOUT(menu->isVisible(), 3000);
    QVERIFY2(!hub()->isShown(), "a right click must not open the hub");

    QStringList titles;
    QAction *chosen = nullptr;
    for (QAction *action : menu->actions()) {
        titles << (action->isSeparator() ? QStringLiteral("-") : action->text());
        if (action->text().section(u'\t', 0, 0) == item)
            chosen = action;
    }
    // Global shortcuts after the tab, written the way the desktop writes them.
    QCOMPARE(titles, QStringList({"Open Halcy", "-", "Mirror\tCtrl+Super+M", "Hide Desktop\tCtrl+Super+D", "-",
                                  "Settings...", "Quit Halcy"}));
    QVERIFY(chosen);
    QVERIFY(clickAt(menu->mapToGlobal(menu->actionGeometry(chosen).center()), 1));
    QTRY_VERIFY_WITH_TIMEOUT(!menu->isVisible(), 2000);

    if (logLine.isEmpty()) {
        QTRY_VERIFY_WITH_TIMEOUT(hub()->isShown(), 3000);
    } else {
        QTRY_VERIFY_WITH_TIMEOUT(logContains(logLine), 2000);
        QVERIFY(!hub()->isShown());
    }
}

void TestHubDesktop::shortcutsWorkOverAnotherApplicationAndSkipOneTakenByAnotherClient()
{
    KeyGrabber other;
    QVERIFY2(other.grab('m', XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_4), "could not take Ctrl+Super+M first");
    startApp();
    const QMap<quint32, QString> expected{{1, QStringLiteral("clipboard.open")}, {3, QStringLiteral("desktop.toggle")}};
    QCOMPARE(m_app->hotkeyManager()->actionIDs(), expected);
    QVERIFY(pressKeys(QStringLiteral("ctrl+super+m")));
    QVERIFY(pressKeys(QStringLiteral("ctrl+super+d")));
    QTRY_VERIFY_WITH_TIMEOUT(logContains(QStringLiteral("Hide Desktop is not available in this build")), 2000);
    QVERIFY(!logContains(QStringLiteral("The mirror is not available")));

    PeerProcess peer(textFieldPeer);
    QVERIFY2(peer.start({}), qPrintable(peer.errorOutput()));
    QVERIFY(focusPeer(peer));
    QVERIFY(openHubWithShortcut());
    QTRY_VERIFY(namedItem("searchField")->hasActiveFocus());
    // Typing goes to the search at once, not to the application behind.
    QVERIFY(typeText(QStringLiteral("abc")));
    QTRY_COMPARE(m_app->appState()->searchQuery(), QStringLiteral("abc"));
    QCOMPARE(peerText(peer), QString());

    QVERIFY(pressKeys(QStringLiteral("super+shift+v")));
    QTRY_VERIFY_WITH_TIMEOUT(!hub()->isShown(), 3000);
    // The window manager gives the keyboard back to the application the user was in.
    QVERIFY(peerHasFocus(peer));
}

void TestHubDesktop::copyInAnotherApplicationAppearsAtTheTopOfTheOpenHub()
{
    seedHistory({textCapture(QStringLiteral("older note"), QStringLiteral("Text Editor"), 5)});
    startApp();
    QVERIFY(openHubWithShortcut());
    QTRY_COMPARE(model()->rowCount(), 1);

    // Checked on every frame the hub puts on screen, so the time is when a person could see the row.
    QString wanted;
    qint64 seenAt = 0;
    const QMetaObject::Connection onFrame = connect(view(), &QQuickWindow::frameSwapped, this, [&] {
        QQuickItem *row = wanted.isEmpty() ? nullptr : rowItem(wanted);
        if (!seenAt && row && row->property("index").toInt() == 0
            && model()->data(model()->index(0), ClipboardListModel::SectionRole) == QLatin1String("Today"))
            seenAt = steadyNanoseconds();
    });

    PeerProcess peer(clipboardPeer);
    QVERIFY2(peer.start({QStringLiteral("--stdin")}), qPrintable(peer.errorOutput()));
    for (const QString &text : {QStringLiteral("first copy from the terminal"), QStringLiteral("second copy, newer")}) {
        wanted = text;
        seenAt = 0;
        peer.writeLine(text);
        const std::optional<QString> copied = peer.readLine();
        QVERIFY(copied && copied->startsWith(QLatin1String("copied ")));
        const qint64 copiedAt = copied->mid(7).toLongLong();
        QTRY_VERIFY_WITH_TIMEOUT(seenAt != 0, 3000);
        const double latencyMs = (seenAt - copiedAt) / 1e6;
        qInfo("'%s' on screen %.1f ms after the copy", qPrintable(text), latencyMs);
        QVERIFY2(latencyMs < 500, qPrintable(QStringLiteral("%1 ms").arg(latencyMs)));
        QVERIFY(hub()->isShown());
    }
    disconnect(onFrame);
    QCOMPARE(modelColumn(ClipboardListModel::TitleRole),
             QStringList({"second copy, newer", "first copy from the terminal", "older note"}));
    QCOMPARE(modelColumn(ClipboardListModel::SectionRole), QStringList({"Today", "Today", "Today"}));
    QCOMPARE(namedItem("entryCount")->property("text").toString(), QStringLiteral("3"));
    peer.stop();
}

void TestHubDesktop::pickingARowReachesTheClipboardAndTheFocusedField_data()
{
    QTest::addColumn<QString>("gesture");
    QTest::addColumn<bool>("pastes");

    QTest::addRow("click copies and leaves the hub open") << "click" << false;
    QTest::addRow("context menu Copy") << "menu:Copy" << false;
    QTest::addRow("context menu Paste") << "menu:Paste" << true;
    QTest::addRow("context menu Paste as plain text") << "menu:Paste as plain text" << true;
    QTest::addRow("Down then Alt+Return pastes as plain text") << "keys:Down alt+Return" << true;
    QTest::addRow("Alt+2 pastes the second entry") << "keys:alt+2" << true;
}

void TestHubDesktop::pickingARowReachesTheClipboardAndTheFocusedField()
{
    QFETCH(QString, gesture);
    QFETCH(bool, pastes);

    const QString picked = QStringLiteral("Ticket HAL-204: tray menu ✓");
    seedHistory({textCapture(picked, QStringLiteral("Firefox"), 3),
                 textCapture(QStringLiteral("the newest entry"), QStringLiteral("Terminal"), 1)});
    startApp();
    PeerProcess field(textFieldPeer);
    QVERIFY2(field.start({}), qPrintable(field.errorOutput()));
    QVERIFY(focusPeer(field));
    QVERIFY(openHubWithShortcut());
    QTRY_VERIFY(rowItem(picked));

    if (gesture == QLatin1String("click")) {
        QVERIFY(clickAt(globalCentre(rowItem(picked)), 1));
    } else if (gesture.startsWith(QLatin1String("menu:"))) {
        QVERIFY(clickAt(globalCentre(rowItem(picked)), 3));
        QTRY_VERIFY_WITH_TIMEOUT(menuItem(gesture.mid(5)), 2000);
        // Let the menu's opening transition settle before clicking its item.
        spinEventLoop(250);
        QVERIFY(clickAt(globalCentre(menuItem(gesture.mid(5))), 1));
    } else {
        for (const QString &keys : gesture.mid(5).split(u' '))
            QVERIFY(pressKeys(keys));
    }

    QTRY_COMPARE_WITH_TIMEOUT(clipboardText(), picked.toUtf8(), 3000);
    QCOMPARE(m_app->appState()->selectedClipboardEntryID(), model()->entryAt(model()->rowForQuickNumber(2)).id);
    if (pastes) {
        QTRY_VERIFY_WITH_TIMEOUT(!hub()->isShown(), 2000);
        QTRY_COMPARE_WITH_TIMEOUT(peerText(field), picked, 3000);
        QCOMPARE(m_app->appState()->clipboardStatusMessage(), QStringLiteral("Pasted"));
    } else {
        QVERIFY(hub()->isShown());
        QCOMPARE(m_app->appState()->clipboardStatusMessage(), QStringLiteral("Copied to clipboard"));
        spinEventLoop(300);
        QCOMPARE(peerText(field), QString());
    }
    // Our own write never comes back as a new entry.
    spinEventLoop(600);
    QCOMPARE(m_app->clipboardStore()->entries().size(), 2);
}

void TestHubDesktop::typingNarrowsTheListAndNonsenseShowsNoMatches()
{
    QList<ClipboardCapture> captures;
    const QStringList texts{"Invoice March, paid", "lunch menu for Friday", "https://billing.example.com/invoices/42",
                            "invoice draft April", "#FFAA00", "meeting agenda"};
    for (int i = 0; i < texts.size(); ++i)
        captures << textCapture(texts.at(i), QStringLiteral("Text Editor"), texts.size() - i);
    seedHistory(captures);
    startApp();
    QVERIFY(openHubWithShortcut());
    QTRY_COMPARE(model()->rowCount(), texts.size());
    QVERIFY(!modelColumn(ClipboardListModel::SectionRole).contains(QString()));

    QVERIFY(typeText(QStringLiteral("invoice")));
    QTRY_COMPARE(m_app->appState()->searchQuery(), QStringLiteral("invoice"));
    QStringList expected;
    for (const ClipboardHistoryEntry &entry :
         ClipboardSearch::rank(m_app->clipboardStore()->entries(), ClipboardSearch::normalized(QStringLiteral("invoice"))))
        expected << entry.title;
    QVERIFY(expected.size() >= 3 && expected.size() < texts.size());
    QTRY_COMPARE(modelColumn(ClipboardListModel::TitleRole), expected);
    // While searching the list is flat, without day sections.
    QCOMPARE(modelColumn(ClipboardListModel::SectionRole), QStringList(expected.size(), QString()));
    QTRY_VERIFY(rowItem(expected.first()));
    // The best match is selected, so Return takes it.
    QCOMPARE(model()->selectedRow(), 0);
    QVERIFY(pressKeys(QStringLiteral("Return")));
    QTRY_COMPARE_WITH_TIMEOUT(clipboardText(), model()->entryAt(0).textContent.value_or(QString()).toUtf8(), 3000);
    // Also when one edit replaces the whole query.
    QVERIFY(pressKeys(QStringLiteral("ctrl+a")));
    QVERIFY(pressKeys(QStringLiteral("l")));
    QTRY_COMPARE(m_app->appState()->searchQuery(), QStringLiteral("l"));
    QCOMPARE(model()->selectedRow(), 0);
    QVERIFY(pressKeys(QStringLiteral("ctrl+a")));
    QVERIFY(typeText(QStringLiteral("invoice")));
    QTRY_COMPARE(m_app->appState()->searchQuery(), QStringLiteral("invoice"));

    QVERIFY(typeText(QStringLiteral("qzxj")));
    QTRY_VERIFY(isShowing("noMatchesState"));
    QVERIFY(!isShowing("historyList"));
    QVERIFY(!isShowing("emptyHistoryState"));
    const QQuickItem *noMatches = namedItem("noMatchesState");
    QCOMPARE(noMatches->property("title").toString(), QStringLiteral("No matches"));
    QCOMPARE(noMatches->property("description").toString(), QStringLiteral("Try another search."));

    // Emptying the field brings the sectioned list back.
    QVERIFY(pressKeys(QStringLiteral("ctrl+a")));
    QVERIFY(pressKeys(QStringLiteral("BackSpace")));
    QTRY_COMPARE(m_app->appState()->searchQuery(), QString());
    QTRY_VERIFY(isShowing("historyList"));
    QCOMPARE(model()->rowCount(), texts.size());
    QCOMPARE(modelColumn(ClipboardListModel::SectionRole), QStringList(texts.size(), QStringLiteral("Today")));
}

void TestHubDesktop::pinFromTheContextMenuMovesTheRowToPinned()
{
    seedHistory({textCapture(QStringLiteral("keep this address"), QStringLiteral("Mail"), 20),
                 textCapture(QStringLiteral("something in between"), QStringLiteral("Mail"), 10),
                 textCapture(QStringLiteral("the newest entry"), QStringLiteral("Terminal"), 1)});
    startApp();
    QVERIFY(openHubWithShortcut());
    QTRY_VERIFY(rowItem(QStringLiteral("keep this address")));

    QVERIFY(clickAt(globalCentre(rowItem(QStringLiteral("keep this address"))), 3));
    QTRY_VERIFY_WITH_TIMEOUT(menuItem(QStringLiteral("Pin")), 2000);
    spinEventLoop(250);
    QVERIFY(clickAt(globalCentre(menuItem(QStringLiteral("Pin"))), 1));

    QTRY_COMPARE(modelColumn(ClipboardListModel::TitleRole),
                 QStringList({"keep this address", "the newest entry", "something in between"}));
    QCOMPARE(modelColumn(ClipboardListModel::SectionRole), QStringList({"Pinned", "Today", "Today"}));
    const ClipboardHistoryEntry pinned = m_app->clipboardStore()->entries().last();
    QCOMPARE(pinned.title, QStringLiteral("keep this address"));
    QVERIFY(pinned.isPinned);
    // Pinned rows carry no quick number; numbering starts at the first unpinned row.
    QCOMPARE(model()->rowForQuickNumber(1), 1);
    QVERIFY(hub()->isShown());

    // The same row's menu now offers to unpin it.
    QTRY_VERIFY(rowItem(QStringLiteral("keep this address")));
    QVERIFY(clickAt(globalCentre(rowItem(QStringLiteral("keep this address"))), 3));
    QTRY_VERIFY_WITH_TIMEOUT(menuItem(QStringLiteral("Unpin")), 2000);
    QVERIFY(!menuItem(QStringLiteral("Pin")));
    QVERIFY(pressKeys(QStringLiteral("Escape")));
}

void TestHubDesktop::screenshotsOfTheOpenHubInBothPalettes()
{
    // Newest first as listed; the link gets pinned and the blue colour falls into an earlier day.
    ClipboardCapture oneFile = *ClipboardCapture::fromFileURLs(
        {QUrl(QStringLiteral("file:///home/ada/Documents/Invoice-2024-03.pdf"))}, QStringLiteral("Files"));
    oneFile.timestamp = QDateTime::currentDateTime().addSecs(-60 * 20);
    ClipboardCapture twoFiles = *ClipboardCapture::fromFileURLs(
        {QUrl(QStringLiteral("file:///home/ada/Pictures/beach.jpg")), QUrl(QStringLiteral("file:///home/ada/Pictures/dunes.jpg"))},
        QStringLiteral("Files"));
    twoFiles.timestamp = QDateTime::currentDateTime().addSecs(-60 * 40);
    ClipboardCapture photo = ClipboardCapture::fromImage(pngBytes(samplePhoto()), 7, QStringLiteral("GIMP"));
    photo.timestamp = QDateTime::currentDateTime().addSecs(-60 * 10);
    const QString link = QStringLiteral("https://docs.example.org/handbook/onboarding#first-week");
    seedHistory({textCapture(QStringLiteral("#3D7EFF"), QStringLiteral("Text Editor"), 60 * 25),
                 textCapture(link, QStringLiteral("Firefox"), 50), twoFiles,
                 textCapture(QStringLiteral("for (auto &row : rows)\n    row.flush();"), QStringLiteral("Visual Studio Code"), 30),
                 oneFile, photo, textCapture(QStringLiteral("#FF5A4E"), QStringLiteral("GIMP"), 5),
                 textCapture(QStringLiteral("Quarterly budget review moved to Thursday 10:00, room 4B. Bring the Q3 figures."),
                             QStringLiteral("Thunderbird"), 2)});
    startApp();
    const ClipboardHistoryEntries stored = m_app->clipboardStore()->entries();
    QCOMPARE(stored.size(), 8);
    const auto linkEntry = std::find_if(stored.cbegin(), stored.cend(),
                                        [&](const ClipboardHistoryEntry &e) { return e.textContent == link; });
    QVERIFY(linkEntry != stored.cend());
    // One pinned row, to show all three kinds of section.
    m_app->togglePin(linkEntry->id);

    QVERIFY(clickAt(trayIconGeometry().center(), 1));
    QTRY_VERIFY_WITH_TIMEOUT(hub()->isShown() && view()->isExposed(), 3000);
    QCOMPARE(model()->rowCount(), 8);
    QStringList sections = modelColumn(ClipboardListModel::SectionRole);
    sections.removeDuplicates();
    QVERIFY2(sections.size() >= 3 && sections.first() == QLatin1String("Pinned"), qPrintable(sections.join(u',')));
    // The image row shows the picture itself once its thumbnail has loaded.
    QTRY_VERIFY_WITH_TIMEOUT(firstItem(view()->contentItem(),
                                       [](QQuickItem *item) {
                                           return item->property("source").toString().startsWith(
                                                      QLatin1String("image://thumbnail/"))
                                               && item->property("status").toInt() == 1;
                                       }),
                             3000);
    // Park the pointer off the hub, so no row shows its hover colour.
    QVERIFY(xdotool({QStringLiteral("mousemove"), QStringLiteral("700"), QStringLiteral("700")}));

    struct Palette
    {
        const char *name;
        bool dark;
        QColor background;
    };
    for (const Palette &palette : {Palette{"light", false, QColor(0xf7, 0xf7, 0xf9)},
                                   Palette{"dark", true, QColor(0x1c, 0x1d, 0x22)}}) {
        hub()->controller()->setDarkMode(palette.dark);
        spinEventLoop(400);
        const QImage shot = view()->grabWindow();
        QCOMPARE(shot.size(), HubPopover::contentSize * view()->devicePixelRatio());
        // Inside the border, left of the brand mark: the palette's background.
        const QColor corner = shot.pixelColor(6, 40);
        QVERIFY2(qAbs(corner.red() - palette.background.red()) < 4 && qAbs(corner.blue() - palette.background.blue()) < 4,
                 qPrintable(corner.name()));
        const QString path = artifactsDir + QStringLiteral("/hub-%1.png").arg(QLatin1String(palette.name));
        QVERIFY(shot.save(path));

        // What a person sees: the hub in place under the tray icon, taken from the screen.
        const QRect hubRect = view()->geometry();
        const QRect region = QRect(QPoint(hubRect.left() - 60, 0), QPoint(view()->screen()->geometry().right(),
                                                                            hubRect.bottom() + 12))
                                 .intersected(view()->screen()->geometry());
        const QPixmap screen = view()->screen()->grabWindow(0, region.x(), region.y(), region.width(), region.height());
        QVERIFY(screen.save(artifactsDir + QStringLiteral("/hub-%1-on-screen.png").arg(QLatin1String(palette.name))));
        qInfo("saved %s", qPrintable(path));
    }
}

HALCY_X11_TEST_MAIN(TestHubDesktop)
#include "tst_hubdesktop.moc"
