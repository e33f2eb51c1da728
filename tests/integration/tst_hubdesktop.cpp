#include "App/AppState.h"
#include "Clipboard/ClipboardStore.h"
#include "DesktopTools.h"
#include "EntryFactory.h"
#include "PeerProcess.h"
#include "Shell/AppCoordinator.h"
#include "Shell/StatusItemController.h"
#include "TestEnvironment.h"
#include "UI/HubPopover.h"
#include "X11TestMain.h"

#include <QDir>
#include <QMenu>
#include <QQuickItem>
#include <QQuickView>
#include <QRegularExpression>
#include <QSGRendererInterface>
#include <QScreen>
#include <QStyleHints>
#include <QSystemTrayIcon>

#include <functional>
#include <memory>
#include <utility>

namespace {

// A mouse click at a global position. One xdotool run, so the server takes the move before the click;
// no --sync, which waits forever when the pointer is already there.
bool clickAt(const QPoint &at, int button)
{
    return xdotool({QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y()),
                    QStringLiteral("click"), QString::number(button)});
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

} // namespace

// The whole application in this process on the real desktop, for what only the window manager, the
// tray host and the X server decide: where the hub opens, who has the keyboard, and whether a paste
// reaches the application the user came from. What the hub does with a key or a click is tested on the
// offscreen platform.
class TestHubDesktop final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        HALCY_REQUIRE_X11_SESSION("xdotool", "xclip", "xwininfo");
        QVERIFY2(QSystemTrayIcon::isSystemTrayAvailable(), "no tray host in this session");
        // Drawn as the app draws it (see main.cpp).
        if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
            QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        m_env = std::make_unique<TestEnvironment>();
        TestEnvironment::markOnboardingCompleted(m_env->configHome());
    }

    void cleanup()
    {
        m_app.reset();
        xdotool({QStringLiteral("keyup"), QStringLiteral("super"), QStringLiteral("shift"),
                 QStringLiteral("ctrl"), QStringLiteral("alt")});
        for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")})
            QFile::remove(historyPath() + suffix);
        // Let the tray host drop the old icon and the clipboard owners of the case leave.
        spinEventLoop(200);
    }

    void trayIconClicksToggleTheHubBelowItAndRightClickOpensTheMenu()
    {
        startApp();
        const QRect icon = trayIconGeometry();

        // A right click opens the menu, not the hub.
        QMenu *menu = m_app->statusItemController()->menu();
        QVERIFY(clickAt(icon.center(), 3));
        QTRY_VERIFY_WITH_TIMEOUT(menu->isVisible(), 10000);
        QVERIFY(!hub()->isShown());
        QVERIFY(pressKeys(QStringLiteral("Escape")));
        QTRY_VERIFY_WITH_TIMEOUT(!menu->isVisible(), 10000);

        // First click: the hub hangs below the icon, wholly on screen, and takes the keyboard.
        QVERIFY(clickAt(icon.center(), 1));
        QTRY_VERIFY_WITH_TIMEOUT(hub()->isShown() && view()->isActive(), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(view()->geometry().top() > icon.bottom(), 10000);
        const QRect placed = view()->geometry();
        QCOMPARE(placed.size(), HubPopover::contentSize);
        QVERIFY(view()->screen()->geometry().contains(placed));
        QVERIFY(placed.top() - icon.bottom() <= 12);
        QVERIFY(placed.left() <= icon.center().x() && icon.center().x() <= placed.right());
        // Where the X server has it, not only where Qt thinks it is.
        const QString info = QString::fromLocal8Bit(
            runTool(QStringLiteral("xwininfo"), {QStringLiteral("-id"), QString::number(view()->winId())})
                .value_or(ToolResult())
                .output);
        const auto absolute = [&](const char *axis) {
            return QRegularExpression(
                       QStringLiteral("Absolute upper-left %1:\\s+(-?\\d+)").arg(QLatin1String(axis)))
                .match(info)
                .captured(1)
                .toInt();
        };
        QCOMPARE(QPoint(absolute("X"), absolute("Y")), placed.topLeft());
        QTRY_VERIFY_WITH_TIMEOUT(
            view()->rootObject()->findChild<QQuickItem *>(QStringLiteral("searchField"))->hasActiveFocus(),
            10000);

        // Second click on the icon, at a person's pace (a quicker one is a double click, which the tray
        // reports as such): the hub is gone and stays gone, whether the click took the focus from it first
        // or arrived while it still had it.
        const int doubleClickMs = QGuiApplication::styleHints()->mouseDoubleClickInterval();
        spinEventLoop(doubleClickMs + 100);
        QVERIFY(clickAt(icon.center(), 1));
        QTRY_VERIFY_WITH_TIMEOUT(!hub()->isShown(), 10000);
        spinEventLoop(700);
        QVERIFY(!hub()->isShown());

        // A later click opens it again, and a click into another application's window closes it.
        PeerProcess other(QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer"));
        QVERIFY2(other.start({}), qPrintable(other.errorOutput()));
        QVERIFY(xdotool({QStringLiteral("windowmove"), QStringLiteral("--sync"),
                         other.readyLine().section(QLatin1Char(' '), 1, 1), QStringLiteral("200"),
                         QStringLiteral("300")}));
        // Settled first: a window manager that focuses it later would take the focus from the hub.
        QVERIFY(activatePeerWindow(other) && peerHasFocus(other));
        QVERIFY(clickAt(icon.center(), 1));
        QTRY_VERIFY2_WITH_TIMEOUT(hub()->isShown() && view()->isActive(), qPrintable(whoHasTheKeyboard()),
                                  10000);
        spinEventLoop(doubleClickMs + 100);
        QVERIFY(hub()->isShown());
        QVERIFY(clickAt(QPoint(300, 320), 1));
        QTRY_VERIFY_WITH_TIMEOUT(!hub()->isShown(), 10000);
        QVERIFY(peerHasFocus(other));
    }

    void pickingARowReachesTheClipboardAndTheFocusedField_data()
    {
        QTest::addColumn<QString>("keys"); // empty: a click on the row
        QTest::addColumn<bool>("pastes");

        QTest::addRow("click copies and leaves the hub open; the shortcut closes it") << QString() << false;
        QTest::addRow("Alt+2 pastes into the application behind") << "alt+2" << true;
    }

    void pickingARowReachesTheClipboardAndTheFocusedField()
    {
        QFETCH(QString, keys);
        QFETCH(bool, pastes);

        const QString picked = QStringLiteral("Ticket HAL-204: tray menu ✓");
        startApp({textCapture(picked, secondsAgo(180)),
                  textCapture(QStringLiteral("the newest entry"), secondsAgo(60))});
        PeerProcess field(QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer"));
        QVERIFY2(field.start({}), qPrintable(field.errorOutput()));
        QVERIFY(activatePeerWindow(field) && peerHasFocus(field));
        QVERIFY(openHubWithShortcut());
        // Typing goes to the search at once, not to the application behind.
        QVERIFY(xdotool({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("40"),
                         QStringLiteral("abc")}));
        QTRY_COMPARE_WITH_TIMEOUT(m_app->appState()->searchQuery(), QStringLiteral("abc"), 10000);
        m_app->appState()->setSearchQuery(QString());
        QTRY_VERIFY_WITH_TIMEOUT(rowItem(picked), 10000);

        if (keys.isEmpty())
            QVERIFY(clickAt(globalCentre(rowItem(picked)), 1));
        else
            QVERIFY(pressKeys(keys));

        QTRY_COMPARE_WITH_TIMEOUT(xclipOutput().value_or(QByteArray()), picked.toUtf8(), 10000);
        if (pastes) {
            QTRY_VERIFY_WITH_TIMEOUT(!hub()->isShown(), 10000);
            QTRY_COMPARE_WITH_TIMEOUT(peerText(field), picked, 10000);
            QCOMPARE(m_app->appState()->clipboardStatusMessage(), QStringLiteral("Pasted"));
        } else {
            QVERIFY(hub()->isShown());
            QVERIFY(pressKeys(QStringLiteral("super+shift+v")));
            QTRY_VERIFY_WITH_TIMEOUT(!hub()->isShown(), 10000);
            // The window manager gives the keyboard back to the application the user was in.
            QVERIFY(peerHasFocus(field));
            QCOMPARE(peerText(field), QString());
        }
    }

private:
    QString historyPath() const { return m_env->dataHome() + QStringLiteral("/Halcy/history.sqlite"); }

    // For a failure message: the hub's state and the window the X server gives the keyboard to.
    QString whoHasTheKeyboard()
    {
        const QString focused =
            QString::fromLocal8Bit(runTool(QStringLiteral("xdotool"), {QStringLiteral("getwindowfocus"),
                                                                       QStringLiteral("getwindowname")})
                                       .value_or(ToolResult())
                                       .output)
                .trimmed();
        return QStringLiteral("hub shown %1, active %2; the keyboard is with \"%3\"")
            .arg(hub()->isShown())
            .arg(view()->isActive())
            .arg(focused);
    }

    void startApp(const QList<ClipboardCapture> &history = {})
    {
        QVERIFY(QDir().mkpath(QFileInfo(historyPath()).path()));
        {
            QString error;
            std::unique_ptr<ClipboardStore> store =
                ClipboardStore::open(historyPath(), ClipboardStore::defaultHistoryLimit, &error);
            QVERIFY2(store, qPrintable(error));
            for (const ClipboardCapture &capture : history)
                QVERIFY2(store->insert(capture, &error), qPrintable(error));
        }
        m_app = std::make_unique<AppCoordinator>(
            AppCoordinator::Locations{m_env->configHome() + QStringLiteral("/Halcy/settings.json"),
                                      historyPath()},
            AppCoordinator::Platform::createDefault());
        m_app->start();
        QVERIFY(m_app->statusItemController());
        // The tray host docks the icon asynchronously and may move it while it lays itself out again.
        QRect docked;
        const auto settled = [&] {
            const QRect now = trayIconGeometry();
            return now.isValid() && std::exchange(docked, now) == now;
        };
        QTRY_VERIFY_WITH_TIMEOUT(settled(), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(view() && view()->rootObject(), 10000);
    }

    HubPopover *hub() const { return m_app->statusItemController()->popover(); }
    QQuickView *view() const { return hub()->view(); }
    QQuickItem *rowItem(const QString &title) const
    {
        auto *list = view()->rootObject()->findChild<QQuickItem *>(QStringLiteral("historyList"));
        if (!list)
            return nullptr;
        return firstItem(list->property("contentItem").value<QQuickItem *>(), [&](QQuickItem *item) {
            return item->property("title").toString() == title && item->property("quickNumber").isValid() &&
                   item->isVisible();
        });
    }

    QRect trayIconGeometry() const
    {
        QSystemTrayIcon *icon = m_app->statusItemController()->trayIcon();
        const QRect rect = icon->geometry();
        return icon->isVisible() && rect.width() > 0 && rect.top() >= 0 ? rect : QRect();
    }

    bool openHubWithShortcut()
    {
        if (!pressKeys(QStringLiteral("super+shift+v")))
            return false;
        return QTest::qWaitFor([&] { return hub()->isShown() && view()->isActive(); }, 10000);
    }

    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<AppCoordinator> m_app;
};

HALCY_X11_TEST_MAIN(TestHubDesktop)
#include "tst_hubdesktop.moc"
