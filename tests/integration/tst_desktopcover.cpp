#include "Desktop/DesktopCoverManager.h"
#include "Desktop/DesktopCoverWindow.h"
#include "DesktopTools.h"
#include "PeerProcess.h"
#include "TestTime.h"
#include "X11TestMain.h"

#include <QAbstractNativeEventFilter>
#include <QPainter>
#include <QSignalSpy>

#include <xcb/xcb.h>

namespace {

constexpr QRgb desktopColor = 0xff305030;
constexpr QRgb applicationColor = 0xffd0d0d0;

xcb_connection_t *connection()
{
    return qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
}

QColor pixelOnScreen(int x, int y)
{
    return QGuiApplication::primaryScreen()->grabWindow(0, x, y, 1, 1).toImage().pixelColor(0, 0);
}

bool xrandr(const QStringList &arguments)
{
    return runTool(QStringLiteral("xrandr"), arguments).value_or(ToolResult()).exitCode == 0;
}

// A plain X window of the given _NET_WM_WINDOW_TYPE, made with raw requests as any other program
// would make it, placed exactly where asked; records the button presses it receives.
struct PlainWindow final : QAbstractNativeEventFilter
{
    xcb_window_t id = xcb_generate_id(connection());
    QList<QPoint> clicks;

    PlainWindow(const QByteArray &type, const QRect &r, QRgb color)
    {
        const uint32_t values[] = {color & 0xffffff,
                                   XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE};
        xcb_create_window(connection(), XCB_COPY_FROM_PARENT, id,
                          xcb_setup_roots_iterator(xcb_get_setup(connection())).data->root, int16_t(r.x()),
                          int16_t(r.y()), uint16_t(r.width()), uint16_t(r.height()), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
        // A round trip, so that the window exists for xprop.
        std::free(xcb_get_input_focus_reply(connection(), xcb_get_input_focus(connection()), nullptr));
        runTool("xprop", {"-id", QString::number(id), "-f", "_NET_WM_WINDOW_TYPE", "32a", "-set",
                          "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_" + type});
        const uint32_t userPlaced[18] = {1 | 2, uint32_t(r.x()), uint32_t(r.y()), uint32_t(r.width()),
                                         uint32_t(r.height())};
        xcb_change_property(connection(), XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_NORMAL_HINTS,
                            XCB_ATOM_WM_SIZE_HINTS, 32, 18, userPlaced);
        xcb_map_window(connection(), id);
        xcb_flush(connection());
        qApp->installNativeEventFilter(this);
    }
    ~PlainWindow() override { xcb_destroy_window(connection(), id); }

    bool nativeEventFilter(const QByteArray &, void *message, qintptr *) override
    {
        const auto *event = static_cast<xcb_button_press_event_t *>(message);
        if ((event->response_type & 0x7f) == XCB_BUTTON_PRESS && event->event == id)
            clicks.append({event->root_x, event->root_y});
        return false;
    }
};

} // namespace

// The covers against the real X server and window manager, on two RandR monitors, between a desktop
// window (as a file manager's) and an application window.
class TestDesktopCover final : public QObject
{
    Q_OBJECT

    std::unique_ptr<PlainWindow> m_desktop;
    std::unique_ptr<PlainWindow> m_application;
    std::unique_ptr<DesktopCoverManager> m_manager;

    void hide(DesktopFill fill, bool consumesClicks = true)
    {
        m_manager->setConfiguration({fill, Qt::darkGreen, consumesClicks, false});
        m_manager->setHidden(true);
        m_manager->rebuildCovers();
    }

private slots:
    void initTestCase()
    {
        HALCY_REQUIRE_X11_SESSION("xrandr", "xdotool", "xprop");
        QVERIFY(xrandr({"--setmonitor", "LEFT", "960/254x1080/286+0+0", "screen"}));
        QVERIFY(xrandr({"--setmonitor", "RIGHT", "960/254x1080/286+960+0", "none"}));
        QTRY_COMPARE_WITH_TIMEOUT(QGuiApplication::screens().size(), 2, scaledTimeout(5000));
        m_desktop = std::make_unique<PlainWindow>("DESKTOP", QRect(0, 0, 1920, 1080), desktopColor);
        m_application = std::make_unique<PlainWindow>("NORMAL", QRect(300, 200, 400, 300), applicationColor);
        QVERIFY(xdotool({"windowactivate", "--sync", QString::number(m_application->id)}));
    }
    void cleanupTestCase()
    {
        publishRootBackground(QImage());
        // Monitors belong to the whole X server: leave it as the session started it.
        for (const char *name : {"THIRD", "RIGHT", "LEFT"})
            xrandr({"--delmonitor", name});
    }
    void init() { m_manager = std::make_unique<DesktopCoverManager>(); }
    void cleanup() { m_manager.reset(); }

    void coversEveryMonitorBetweenDesktopAndApplications()
    {
        // Each monitor shows its own part of the root background, not the whole of it scaled.
        QImage wallpaper(1920, 1080, QImage::Format_RGB32);
        wallpaper.fill(Qt::blue);
        QPainter(&wallpaper).fillRect(0, 0, 960, 1080, Qt::red);
        QVERIFY(publishRootBackground(wallpaper));
        hide(DesktopFill::matchWallpaper);
        // Stacked between the two: what the screen shows.
        const auto stacked = [] {
            return pixelOnScreen(900, 900) == QColor(Qt::red) &&
                   pixelOnScreen(1000, 900) == QColor(Qt::blue) &&
                   pixelOnScreen(500, 350) == QColor(applicationColor);
        };
        QTRY_VERIFY_WITH_TIMEOUT(stacked(), scaledTimeout(5000));

        // The window manager restacks its desktop window: the covers follow.
        QVERIFY(xdotool({"windowraise", QString::number(m_desktop->id)}));
        QTRY_VERIFY_WITH_TIMEOUT(stacked(), scaledTimeout(5000));

        // Another virtual desktop: the covers stay and are built again; the application is left behind.
        QSignalSpy rebuilt(m_manager.get(), &DesktopCoverManager::coversRebuilt);
        QVERIFY(xdotool({"set_desktop", "1"}));
        QTRY_COMPARE_WITH_TIMEOUT(pixelOnScreen(500, 350), QColor(Qt::red), scaledTimeout(5000));
        QTRY_VERIFY_WITH_TIMEOUT(!rebuilt.isEmpty(), scaledTimeout(5000));
        QVERIFY(xdotool({"set_desktop", "0"}));
        QTRY_VERIFY_WITH_TIMEOUT(stacked(), scaledTimeout(5000));

        // A monitor added over part of the others gets a cover of its own; removed, its cover goes.
        QVERIFY(xrandr({"--setmonitor", "THIRD", "640/169x480/127+320+300", "none"}));
        QTRY_VERIFY_WITH_TIMEOUT(m_manager->covers().size() == 3 &&
                                     m_manager->covers().last()->geometry() == QRect(320, 300, 640, 480),
                                 scaledTimeout(5000));
        QVERIFY(xrandr({"--delmonitor", "THIRD"}));
        QTRY_COMPARE_WITH_TIMEOUT(m_manager->covers().size(), 2, scaledTimeout(5000));
    }

    void clicksPassThroughOrStop_data()
    {
        QTest::addColumn<bool>("consumesClicks");
        QTest::addRow("click-through: the desktop gets the click") << false;
        QTest::addRow("consumed: the cover eats the click") << true;
    }
    void clicksPassThroughOrStop()
    {
        QFETCH(bool, consumesClicks);
        hide(DesktopFill::solidInk, consumesClicks);
        QTRY_COMPARE_WITH_TIMEOUT(pixelOnScreen(100, 900), QColor(Qt::darkGreen), scaledTimeout(5000));
        m_desktop->clicks.clear();
        QVERIFY(xdotool({"mousemove", "--sync", "100", "900", "click", "1"}));
        m_manager->removeCovers();
        // X delivers in order: a click that got through arrives before this one.
        QVERIFY(xdotool({"mousemove", "--sync", "101", "900", "click", "1"}));
        QTRY_VERIFY_WITH_TIMEOUT(!m_desktop->clicks.isEmpty(), scaledTimeout(5000));
        QCOMPARE(m_desktop->clicks.first(), QPoint(consumesClicks ? 101 : 100, 900));
    }
};

HALCY_X11_TEST_MAIN(TestDesktopCover)
#include "tst_desktopcover.moc"
