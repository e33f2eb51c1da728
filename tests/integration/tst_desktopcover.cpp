#include "Desktop/DesktopCoverManager.h"
#include "Desktop/DesktopCoverWindow.h"
#include "DesktopTools.h"
#include "PeerProcess.h"
#include "TestTime.h"
#include "X11TestMain.h"

#include <QAbstractNativeEventFilter>
#include <QPainter>
#include <QStandardPaths>

#include <xcb/xcb.h>

#include <algorithm>

namespace {

constexpr QRgb desktopColor = 0xff305030;
constexpr QRgb applicationColor = 0xffd0d0d0;

xcb_connection_t *connection()
{
    return qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
}

xcb_window_t root()
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection())).data->root;
}

QColor pixelOnScreen(int x, int y)
{
    auto *reply = xcb_get_image_reply(
        connection(),
        xcb_get_image(connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, root(), int16_t(x), int16_t(y), 1, 1, ~0u),
        nullptr);
    const QColor color =
        reply ? QColor(*reinterpret_cast<const QRgb *>(xcb_get_image_data(reply))) : QColor();
    std::free(reply);
    return color;
}

bool xrandr(const QStringList &arguments)
{
    const std::optional<ToolResult> result = runTool(QStringLiteral("xrandr"), arguments);
    return result && result->exitCode == 0;
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
        xcb_create_window(connection(), XCB_COPY_FROM_PARENT, id, root(), int16_t(r.x()), int16_t(r.y()),
                          uint16_t(r.width()), uint16_t(r.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
        const auto atom = [](const QByteArray &name) {
            auto *reply = xcb_intern_atom_reply(
                connection(), xcb_intern_atom(connection(), 0, uint16_t(name.size()), name.constData()),
                nullptr);
            const xcb_atom_t a = reply->atom;
            std::free(reply);
            return a;
        };
        const xcb_atom_t typeAtom = atom("_NET_WM_WINDOW_TYPE_" + type);
        xcb_change_property(connection(), XCB_PROP_MODE_REPLACE, id, atom("_NET_WM_WINDOW_TYPE"),
                            XCB_ATOM_ATOM, 32, 1, &typeAtom);
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

    bool hide(DesktopFill fill = DesktopFill::matchWallpaper, bool consumesClicks = true,
              bool doubleClick = false)
    {
        m_manager->setConfiguration({fill, Qt::darkGreen, consumesClicks, doubleClick});
        m_manager->setHidden(true);
        m_manager->rebuildCovers();
        const QList<DesktopCoverWindow *> covers = m_manager->covers();
        return QTest::qWaitFor(
            [&] { return std::all_of(covers.begin(), covers.end(), [](auto *c) { return c->isExposed(); }); },
            scaledTimeout(5000));
    }

private slots:
    void initTestCase()
    {
        HALCY_REQUIRE_X11_SESSION();
        if (QStandardPaths::findExecutable("xrandr").isEmpty() ||
            QStandardPaths::findExecutable("xdotool").isEmpty())
            QSKIP("xrandr or xdotool is not installed (scripts/install-deps.sh test)");
        QVERIFY(xrandr({"--setmonitor", "LEFT", "960/254x1080/286+0+0", "screen"}));
        QVERIFY(xrandr({"--setmonitor", "RIGHT", "960/254x1080/286+960+0", "none"}));
        QTRY_COMPARE_WITH_TIMEOUT(QGuiApplication::screens().size(), 2, scaledTimeout(5000));
        m_desktop = std::make_unique<PlainWindow>("DESKTOP", QRect(0, 0, 1920, 1080), desktopColor);
        m_application = std::make_unique<PlainWindow>("NORMAL", QRect(300, 200, 400, 300), applicationColor);
        QTRY_COMPARE_WITH_TIMEOUT(pixelOnScreen(500, 350), QColor(applicationColor), scaledTimeout(5000));
        QTRY_COMPARE_WITH_TIMEOUT(pixelOnScreen(100, 900), QColor(desktopColor), scaledTimeout(5000));
        QVERIFY(xdotool({"windowactivate", "--sync", QString::number(m_application->id)}));
    }
    void cleanupTestCase()
    {
        m_manager.reset();
        m_application.reset();
        m_desktop.reset();
        // Monitors belong to the whole X server: leave it as the session started it.
        for (const char *name : {"THIRD", "RIGHT", "LEFT"})
            xrandr({"--delmonitor", name});
    }
    void init() { m_manager = std::make_unique<DesktopCoverManager>(); }
    void cleanup() { m_manager.reset(); }

    void coversEveryMonitorBetweenDesktopAndApplications()
    {
        // Each monitor shows its own part of the wallpaper.
        QImage wallpaper(1920, 1080, QImage::Format_RGB32);
        wallpaper.fill(Qt::blue);
        QPainter(&wallpaper).fillRect(0, 0, 960, 1080, Qt::red);
        QVERIFY(publishRootBackground(wallpaper));
        QVERIFY(hide(DesktopFill::matchWallpaper));
        QList<QRect> geometries;
        for (DesktopCoverWindow *cover : m_manager->covers()) {
            auto *g =
                xcb_get_geometry_reply(connection(), xcb_get_geometry(connection(), cover->winId()), nullptr);
            geometries.append(QRect(g->x, g->y, g->width, g->height));
            std::free(g);
        }
        std::sort(geometries.begin(), geometries.end(), [](QRect a, QRect b) { return a.x() < b.x(); });
        QCOMPARE(geometries, (QList<QRect>{{0, 0, 960, 1080}, {960, 0, 960, 1080}}));
        // Stacked between the two: what the screen shows.
        const auto stacked = [] {
            return pixelOnScreen(100, 900) == QColor(Qt::red) &&
                   pixelOnScreen(1800, 900) == QColor(Qt::blue) &&
                   pixelOnScreen(500, 350) == QColor(applicationColor);
        };
        QTRY_VERIFY_WITH_TIMEOUT(stacked(), scaledTimeout(5000));

        // The keyboard stays with the application, and the covers stay out of the window list.
        auto *focus = xcb_get_input_focus_reply(connection(), xcb_get_input_focus(connection()), nullptr);
        QCOMPARE(focus->focus, m_application->id);
        std::free(focus);
        const QByteArray listed =
            runTool("xprop", {"-root", "_NET_CLIENT_LIST"}).value_or(ToolResult()).output;
        QVERIFY(listed.contains(QByteArray::number(m_application->id, 16)));
        for (DesktopCoverWindow *cover : m_manager->covers())
            QVERIFY(!listed.contains(QByteArray::number(qulonglong(cover->winId()), 16)));

        // The window manager restacks its desktop window: the covers follow.
        QVERIFY(xdotool({"windowraise", QString::number(m_desktop->id)}));
        QTRY_VERIFY_WITH_TIMEOUT(stacked(), scaledTimeout(5000));

        // Another virtual desktop: the covers stay; the application window is left behind.
        QVERIFY(xdotool({"set_desktop", "1"}));
        QTRY_COMPARE_WITH_TIMEOUT(pixelOnScreen(500, 350), QColor(Qt::red), scaledTimeout(5000));
        QVERIFY(xdotool({"set_desktop", "0"}));
        QTRY_VERIFY_WITH_TIMEOUT(stacked(), scaledTimeout(5000));
        QVERIFY(publishRootBackground(QImage()));
    }

    void addedMonitorIsCovered()
    {
        QVERIFY(hide());
        QVERIFY(xrandr({"--setmonitor", "THIRD", "640/169x480/127+320+300", "none"}));
        const auto geometries = [this] {
            QString text;
            for (DesktopCoverWindow *cover : m_manager->covers())
                QDebug(&text) << cover->geometry();
            return text;
        };
        QTRY_VERIFY2_WITH_TIMEOUT(m_manager->covers().size() == 3 &&
                                      geometries().contains("QRect(320,300 640x480)"),
                                  qPrintable(geometries()), scaledTimeout(5000));
        QVERIFY(xrandr({"--delmonitor", "THIRD"}));
        QTRY_COMPARE_WITH_TIMEOUT(m_manager->covers().size(), 2, scaledTimeout(5000));
    }

    void clicksPassThroughOrStop_data()
    {
        QTest::addColumn<bool>("consumesClicks");
        QTest::addColumn<bool>("doubleClickReveals");
        QTest::addColumn<int>("clicks");
        // Apart, so that no click makes a double click with the one before.
        QTest::addColumn<int>("x");
        QTest::addRow("click-through: the desktop gets the click") << false << false << 1 << 100;
        QTest::addRow("consumed: the cover eats the click") << true << false << 1 << 200;
        QTest::addRow("double click to reveal: every cover goes") << true << true << 2 << 300;
    }
    void clicksPassThroughOrStop()
    {
        QFETCH(bool, consumesClicks);
        QFETCH(bool, doubleClickReveals);
        QFETCH(int, clicks);
        QFETCH(int, x);
        int revealed = 0;
        m_manager->setRevealAction(this, [&revealed] { ++revealed; });
        QVERIFY(hide(DesktopFill::solidInk, consumesClicks, doubleClickReveals));
        m_desktop->clicks.clear();
        QVERIFY(xdotool({"mousemove", "--sync", QString::number(x), "900", "click", "--repeat",
                         QString::number(clicks), "--delay", "80", "1"}));
        QTRY_COMPARE_WITH_TIMEOUT(m_manager->covers().isEmpty(), doubleClickReveals, scaledTimeout(5000));
        QCOMPARE(revealed, doubleClickReveals ? 1 : 0);
        m_manager->removeCovers();
        // X delivers in order: a click that got through arrives before this one.
        QVERIFY(xdotool({"mousemove", "--sync", QString::number(x + 1), "900", "click", "1"}));
        QTRY_VERIFY_WITH_TIMEOUT(!m_desktop->clicks.isEmpty(), scaledTimeout(5000));
        QCOMPARE(m_desktop->clicks.first(), QPoint(consumesClicks ? x + 1 : x, 900));
    }
};

HALCY_X11_TEST_MAIN(TestDesktopCover)
#include "tst_desktopcover.moc"
