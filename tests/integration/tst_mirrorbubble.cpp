#include "FakeCameraBackend.h"
#include "FakePasteboard.h"
#include "Mirror/MicrophoneLevelMonitor.h"
#include "Mirror/MirrorCameraEngine.h"
#include "Mirror/MirrorGeometry.h"
#include "Mirror/MirrorWindowController.h"
#include "PeerProcess.h"
#include "TestTime.h"
#include "X11TestMain.h"

#include <QQuickView>
#include <QRasterWindow>
#include <QScreen>
#include <QSignalSpy>

namespace {

// A window of another kind under the bubble, to see where clicks land.
class ClickTarget final : public QRasterWindow
{
public:
    int presses = 0;
    void mousePressEvent(QMouseEvent *) override { ++presses; }
};

struct Bubble
{
    std::shared_ptr<FakeCameraBackend::Shared> camera = std::make_shared<FakeCameraBackend::Shared>();
    FakePasteboard pasteboard;
    MirrorCameraEngine engine{std::make_unique<FakeCameraBackend>(camera), &pasteboard, QString()};
    MicrophoneLevelMonitor microphone{QString()};
    MirrorWindowController controller{&engine, &microphone};

    explicit Bubble(const QRect &savedFrame = QRect())
    {
        camera->devices = {{QStringLiteral("cam"), QStringLiteral("Test camera")}};
        controller.setSavedFrame(savedFrame);
    }

    QQuickView *window() const { return controller.window(); }

    bool show()
    {
        controller.show();
        return QTest::qWaitForWindowExposed(window(), scaledTimeout(5000));
    }

    void setShape(MirrorShape shape)
    {
        MirrorSettings settings = controller.settings();
        settings.shape = shape;
        controller.setSettings(settings);
    }
};

#define QTRY_GEOMETRY(bubble, frame)                                                                         \
    QTRY_COMPARE_WITH_TIMEOUT((bubble).window()->geometry(), frame, scaledTimeout(5000))

// Runs a command line of the X tools (arguments without spaces); false when it fails.
bool run(const QString &commandLine)
{
    QStringList arguments = commandLine.split(u' ');
    const QString program = arguments.takeFirst();
    return runTool(program, arguments, {}, 30000).value_or(ToolResult()).exitCode == 0;
}

} // namespace

class tst_MirrorBubble : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HALCY_REQUIRE_X11_SESSION(); }

    // The default place with the shape's aspect; a shape change keeps the origin and the width. Without a
    // compositor the circle is cut out of the window: a click on its corner reaches the window below, a
    // click inside reaches the bubble (and starts a move that goes nowhere).
    void firstShowShapesAndClicks()
    {
        ClickTarget below;
        below.setGeometry(160, 160, 300, 300);
        below.show();
        QVERIFY(QTest::qWaitForWindowExposed(&below, scaledTimeout(5000)));
        Bubble bubble;
        QSignalSpy opened(&bubble.controller, &MirrorWindowController::openChanged);
        QVERIFY(bubble.show());
        QCOMPARE(opened.count(), 1);
        QTRY_GEOMETRY(bubble, QRect(160, 160, 300, 225));
        // Opening the bubble leaves the keyboard where it was.
        QVERIFY(!bubble.window()->isActive());
        bubble.setShape(MirrorShape::circle);
        QTRY_GEOMETRY(bubble, QRect(160, 160, 300, 300));
        QVERIFY(run(QStringLiteral("xdotool mousemove 165 165 click 1")));
        QTRY_COMPARE_WITH_TIMEOUT(below.presses, 1, scaledTimeout(5000));
        QVERIFY(run(QStringLiteral("xdotool mousemove 310 310 click 1")));
        QTest::qWait(300);
        QCOMPARE(below.presses, 1);
        bubble.setShape(MirrorShape::roundedRectangle);
        QTRY_GEOMETRY(bubble, QRect(160, 160, 300, 225));

        // Closing gives back the window and its scene, not only hides them.
        const QPointer<QQuickView> window = bubble.window();
        bubble.controller.close();
        bubble.controller.close();
        QCOMPARE(opened.count(), 2);
        QCOMPARE(bubble.engine.state().kind(), MirrorCameraState::Kind::stopped);
        QCOMPARE(bubble.microphone.state().kind(), MicrophoneMeterState::Kind::stopped);
        QTRY_VERIFY_WITH_TIMEOUT(window.isNull(), scaledTimeout(5000));
    }

    // Real wheel notches over the bubble: 15 degrees each, resizing around the centre within 140…900.
    void scrollResizesAroundTheCentre_data()
    {
        QTest::addColumn<int>("notches");
        QTest::addColumn<int>("width");
        QTest::addRow("one notch up grows by about 5 %") << 1 << 316;
        QTest::addRow("scrolling far up stops at 900") << 40 << 900;
        QTest::addRow("scrolling far down stops at 140") << -40 << 140;
    }

    void scrollResizesAroundTheCentre()
    {
        QFETCH(int, notches);
        QFETCH(int, width);
        Bubble bubble;
        QVERIFY(bubble.show());
        QTRY_GEOMETRY(bubble, QRect(160, 160, 300, 225));
        const QPoint centre = bubble.window()->geometry().center();
        QVERIFY(run(QString::asprintf("xdotool mousemove %d %d click --repeat %d --delay 15 %d", centre.x(),
                                      centre.y(), std::abs(notches), notches > 0 ? 4 : 5)));
        QTRY_COMPARE_WITH_TIMEOUT(bubble.window()->width(), width, scaledTimeout(5000));
        const QRect frame = bubble.window()->geometry();
        QCOMPARE(frame.height(), qRound(width * 3 / 4.0));
        // Each notch rounds to whole pixels, so many notches may drift by a pixel or two.
        QVERIFY((frame.center() - centre).manhattanLength() <= 4);
        // Opened again, it is where and as large as the user left it, as far as the screen shows it.
        bubble.controller.close();
        QVERIFY(bubble.show());
        QTRY_GEOMETRY(bubble, MirrorGeometry::keptOnScreen(
                                  frame, {QGuiApplication::primaryScreen()->availableGeometry()}));
    }

    // Two monitors side by side; a bubble left on the right one comes back there, and inside the left one
    // once the right one is gone, before it shows or under it, shrunk to fit when it is larger.
    void savedFrameIsKeptOnAPresentMonitor_data()
    {
        QTest::addColumn<int>("rightGone"); // 0: never; 1: before the bubble shows; 2: while it is open
        QTest::addColumn<QRect>("saved");
        QTest::addColumn<QRect>("shown");
        QTest::addRow("on the right monitor it stays there")
            << 0 << QRect(1000, 100, 400, 300) << QRect(1000, 100, 400, 300);
        QTest::addRow("across the right monitor's edge it is pulled inside that monitor")
            << 0 << QRect(1300, 100, 400, 300) << QRect(1160, 100, 400, 300);
        QTest::addRow("on a removed monitor it comes back inside the main one")
            << 1 << QRect(1300, 100, 400, 300) << QRect(560, 100, 400, 300);
        QTest::addRow("larger than the main monitor it shrinks to fit, keeping its aspect")
            << 1 << QRect(1300, 0, 900, 675) << QRect(160, 0, 800, 600);
        QTest::addRow("on a monitor unplugged under it it comes back inside the main one")
            << 2 << QRect(1000, 100, 400, 300) << QRect(560, 100, 400, 300);
    }

    void savedFrameIsKeptOnAPresentMonitor()
    {
        QFETCH(int, rightGone);
        const auto removeMonitors = [] {
            run("xrandr --delmonitor RIGHT");
            run("xrandr --delmonitor LEFT");
        };
        removeMonitors();
        const auto cleanUp = qScopeGuard(removeMonitors);
        // The count alone passes early: with no monitor set, the whole root window is one screen.
        const auto monitorsAre = [](bool withRight) {
            QList<QRect> geometries;
            for (const QScreen *screen : QGuiApplication::screens())
                geometries.append(screen->geometry());
            std::sort(geometries.begin(), geometries.end(),
                      [](const QRect &a, const QRect &b) { return a.x() < b.x(); });
            QList<QRect> expected{{0, 0, 960, 600}};
            if (withRight)
                expected.append({960, 0, 600, 800});
            return geometries == expected;
        };
        QVERIFY(run(QStringLiteral("xrandr --setmonitor LEFT 960/254x600/159+0+0 screen")));
        if (rightGone != 1)
            QVERIFY(run(QStringLiteral("xrandr --setmonitor RIGHT 600/159x800/212+960+0 none")));
        QTRY_VERIFY_WITH_TIMEOUT(monitorsAre(rightGone != 1), scaledTimeout(5000));
        QFETCH(QRect, saved);
        Bubble bubble(saved);
        QVERIFY(bubble.show());
        if (rightGone == 2) {
            QTRY_GEOMETRY(bubble, saved);
            QVERIFY(run(QStringLiteral("xrandr --delmonitor RIGHT")));
            QTRY_VERIFY_WITH_TIMEOUT(monitorsAre(false), scaledTimeout(5000));
        }
        QFETCH(QRect, shown);
        QTRY_GEOMETRY(bubble, shown);
    }
};

HALCY_X11_TEST_MAIN(tst_MirrorBubble)
#include "tst_mirrorbubble.moc"
