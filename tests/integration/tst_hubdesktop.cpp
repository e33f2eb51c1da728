#include "App/AppState.h"
#include "Clipboard/ClipboardStore.h"
#include "DesktopTools.h"
#include "EntryFactory.h"
#include "PeerProcess.h"
#include "Shell/AppCoordinator.h"
#include "Shell/StatusItemController.h"
#include "TestEnvironment.h"
#include "TestTime.h"
#include "UI/HubPopover.h"
#include "X11TestMain.h"

#include <QMenu>
#include <QQuickItem>
#include <QQuickView>
#include <QSGRendererInterface>
#include <QScreen>
#include <QStyleHints>
#include <QSystemTrayIcon>

#include <utility>

namespace {

// One xdotool run, so the server takes the move before the click; no --sync, which waits forever when
// the pointer is already there.
bool clickAt(const QPoint &at, int button = 1)
{
    return xdotool(
        {"mousemove", QString::number(at.x()), QString::number(at.y()), "click", QString::number(button)});
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
        HALCY_REQUIRE_X11_SESSION("xdotool", "xclip");
        QVERIFY2(QSystemTrayIcon::isSystemTrayAvailable(), "no tray host in this session");
        // Drawn as the app draws it (see main.cpp).
        if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
            QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        TestEnvironment::markOnboardingCompleted(m_env.configHome());
    }

    void hubBetweenTheTrayAndTheApplicationBehind()
    {
        const QString picked = "Ticket HAL-204: tray menu ✓", newest = "the newest entry";
        const QString history = m_env.dataHome() + "/Halcy/history.sqlite";
        {
            const auto store = ClipboardStore::open(history, ClipboardStore::defaultHistoryLimit);
            QVERIFY(store && store->insert(textCapture(picked, secondsAgo(180))) &&
                    store->insert(textCapture(newest, secondsAgo(60))));
        }
        m_app = std::make_unique<AppCoordinator>(
            AppCoordinator::Locations{m_env.configHome() + "/Halcy/settings.json", history});
        m_app->start();
        // The tray host docks the icon asynchronously and may move it while it lays itself out again.
        QRect icon;
        QSystemTrayIcon *tray = m_app->statusItemController()->trayIcon();
        const auto settled = [&] {
            const QRect now = tray->geometry();
            return tray->isVisible() && now.width() > 0 && now.top() >= 0 && std::exchange(icon, now) == now;
        };
        QTRY_VERIFY_WITH_TIMEOUT(settled(), scaledTimeout(10000));

        // The application the user came from, settled first: a window manager that focuses it later would
        // take the focus from the hub.
        PeerProcess field(QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer"));
        QVERIFY2(field.start({}), qPrintable(field.errorOutput()));
        QVERIFY(xdotool({"windowmove", "--sync", field.readyLine().section(u' ', 1, 1), "200", "300"}));
        QVERIFY(activatePeerWindow(field) && peerHasFocus(field));

        // A right click opens the menu, not the hub.
        QMenu *menu = m_app->statusItemController()->menu();
        QVERIFY(clickAt(icon.center(), 3));
        QTRY_VERIFY_WITH_TIMEOUT(menu->isVisible(), scaledTimeout(10000));
        QVERIFY(!hub()->isShown());
        QVERIFY(pressKeys("Escape"));
        QTRY_VERIFY_WITH_TIMEOUT(!menu->isVisible(), scaledTimeout(10000));

        // A left click: the hub hangs below the icon, wholly on screen, and takes the keyboard.
        QVERIFY(clickAt(icon.center()));
        QTRY_VERIFY_WITH_TIMEOUT(hub()->isShown() && view()->isActive(), scaledTimeout(10000));
        QTRY_VERIFY_WITH_TIMEOUT(view()->geometry().top() > icon.bottom(), scaledTimeout(10000));
        const QRect placed = view()->geometry();
        QCOMPARE(placed.size(), HubPopover::contentSize);
        QVERIFY(view()->screen()->geometry().contains(placed));
        QVERIFY(placed.top() - icon.bottom() <= 12);
        QVERIFY(placed.left() <= icon.center().x() && icon.center().x() <= placed.right());
        // Where the X server has it, not only where Qt thinks it is.
        const QString position = QStringLiteral("Position: %1,%2").arg(placed.x()).arg(placed.y());
        const auto server = runTool("xdotool", {"getwindowgeometry", QString::number(view()->winId())});
        QVERIFY(server && server->output.contains(position.toUtf8()));
        QTRY_VERIFY_WITH_TIMEOUT(item("searchField")->hasActiveFocus(), scaledTimeout(10000));

        // Another click at a person's pace (a quicker one is a double click, which the tray reports as
        // such): the hub is gone and stays gone, whether the click took the focus from it first or
        // arrived while it still had it.
        const int doubleClickMs = QGuiApplication::styleHints()->mouseDoubleClickInterval();
        spinEventLoop(doubleClickMs + 100);
        QVERIFY(clickAt(icon.center()));
        QTRY_VERIFY_WITH_TIMEOUT(!hub()->isShown(), scaledTimeout(10000));
        spinEventLoop(700);
        QVERIFY(!hub()->isShown());

        // Opened by the shortcut, typing goes to the search at once, not to the application behind, and
        // Alt+2 pastes the second entry into that application.
        QVERIFY(openHubWithShortcut());
        QVERIFY(xdotool({"type", "--delay", "40", "abc"}));
        QTRY_COMPARE_WITH_TIMEOUT(m_app->appState()->searchQuery(), QString("abc"), scaledTimeout(10000));
        m_app->appState()->setSearchQuery(QString());
        QVERIFY(pressKeys("alt+2"));
        QTRY_COMPARE_WITH_TIMEOUT(peerText(field), picked, scaledTimeout(10000));
        QCOMPARE(xclipOutput(), std::optional<QByteArray>(picked.toUtf8()));

        // A click on a row copies it and leaves the hub open; the shortcut closes it, and the window
        // manager gives the keyboard back to the application the user was in.
        QVERIFY(openHubWithShortcut());
        QTRY_VERIFY_WITH_TIMEOUT(rowItem(newest), scaledTimeout(10000));
        QQuickItem *row = rowItem(newest);
        QVERIFY(clickAt(view()->mapToGlobal(row->mapToScene(row->boundingRect().center()).toPoint())));
        QTRY_COMPARE_WITH_TIMEOUT(xclipOutput(), std::optional<QByteArray>(newest.toUtf8()),
                                  scaledTimeout(10000));
        QVERIFY(hub()->isShown());
        QVERIFY(pressKeys("super+shift+v"));
        QTRY_VERIFY_WITH_TIMEOUT(!hub()->isShown(), scaledTimeout(10000));
        QVERIFY(peerHasFocus(field));

        // A click on the icon opens it again, and a click into the application closes it.
        QVERIFY(clickAt(icon.center()));
        QTRY_VERIFY_WITH_TIMEOUT(hub()->isShown() && view()->isActive(), scaledTimeout(10000));
        spinEventLoop(doubleClickMs + 100);
        QVERIFY(hub()->isShown());
        QVERIFY(clickAt(QPoint(300, 320)));
        QTRY_VERIFY_WITH_TIMEOUT(!hub()->isShown(), scaledTimeout(10000));
        QVERIFY(peerHasFocus(field));
    }

private:
    HubPopover *hub() const { return m_app->statusItemController()->popover(); }
    QQuickView *view() const { return hub()->view(); }
    QQuickItem *item(const QString &id) const { return view()->rootObject()->findChild<QQuickItem *>(id); }
    QQuickItem *rowItem(const QString &title) const
    {
        const auto rows = item("historyList")->property("contentItem").value<QQuickItem *>()->childItems();
        for (QQuickItem *row : rows)
            if (row->property("title").toString() == title && row->isVisible())
                return row;
        return nullptr;
    }
    bool openHubWithShortcut()
    {
        return pressKeys("super+shift+v") &&
               QTest::qWaitFor([&] { return hub()->isShown() && view()->isActive(); }, scaledTimeout(10000));
    }

    TestEnvironment m_env;
    std::unique_ptr<AppCoordinator> m_app;
};

HALCY_X11_TEST_MAIN(TestHubDesktop)
#include "tst_hubdesktop.moc"
