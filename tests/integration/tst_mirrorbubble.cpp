#include "DesktopTools.h"
#include "FakeCameraBackend.h"
#include "FakePasteboard.h"
#include "Mirror/MicrophoneLevelMonitor.h"
#include "Mirror/MirrorCameraEngine.h"
#include "Mirror/MirrorGeometry.h"
#include "Mirror/MirrorWindowController.h"
#include "X11TestMain.h"

#include <QMouseEvent>
#include <QPainter>
#include <QProcess>
#include <QQuickView>
#include <QRasterWindow>
#include <QScreen>
#include <QSignalSpy>

#include <memory>

namespace {

// A window of another kind under the bubble, to see where clicks land.
class ClickTarget final : public QRasterWindow
{
public:
    int presses = 0;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(QRect(QPoint(), size()), Qt::darkGreen);
    }
    void mousePressEvent(QMouseEvent *) override { ++presses; }
};

struct Bubble
{
    std::shared_ptr<FakeCameraBackend::Shared> camera = std::make_shared<FakeCameraBackend::Shared>();
    FakePasteboard pasteboard;
    MirrorCameraEngine engine{[this] {
                                  camera->devices = {{QStringLiteral("cam"), QStringLiteral("Test camera")}};
                                  return std::make_unique<FakeCameraBackend>(camera);
                              }(),
                              &pasteboard, QString()};
    MicrophoneLevelMonitor microphone{QString()};
    MirrorWindowController controller{&engine, &microphone};

    explicit Bubble(MirrorShape shape = MirrorShape::roundedRectangle, const QRect &savedFrame = QRect())
    {
        MirrorSettings settings;
        settings.shape = shape;
        settings.showMicLevel = false;
        controller.setSettings(settings);
        controller.setSavedFrame(savedFrame);
    }

    QQuickView *window() const { return controller.window(); }

    bool showAndSettle()
    {
        controller.show();
        return QTest::qWaitForWindowExposed(window());
    }

    void setShape(MirrorShape shape)
    {
        MirrorSettings settings = controller.settings();
        settings.shape = shape;
        controller.setSettings(settings);
    }
};

bool wheel(const QPoint &at, int notches)
{
    return xdotool({QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y()),
                    QStringLiteral("click"), QStringLiteral("--repeat"), QString::number(std::abs(notches)),
                    QStringLiteral("--delay"), QStringLiteral("15"),
                    notches > 0 ? QStringLiteral("4") : QStringLiteral("5")});
}

bool click(const QPoint &at)
{
    return xdotool({QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y()),
                    QStringLiteral("click"), QStringLiteral("1")});
}

bool xrandr(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QStringLiteral("xrandr"), arguments);
    return process.waitForFinished() && process.exitCode() == 0;
}

} // namespace

class tst_MirrorBubble : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HALCY_REQUIRE_X11_SESSION(); }

    void firstShowIsAtTheDefaultPlaceWithTheShapesAspect()
    {
        Bubble bubble;
        QSignalSpy opened(&bubble.controller, &MirrorWindowController::openChanged);
        QVERIFY(bubble.showAndSettle());
        QCOMPARE(opened.count(), 1);
        QTRY_COMPARE(bubble.window()->geometry(), QRect(160, 160, 300, 225));
        QTRY_COMPARE(bubble.engine.state().kind(), MirrorCameraState::Kind::running);
        // Opening the bubble leaves the keyboard where it was.
        QVERIFY(!bubble.window()->isActive());

        // Closing gives back the window and its scene, not only hides them.
        const QPointer<QQuickView> window = bubble.window();
        bubble.controller.close();
        bubble.controller.close();
        QCOMPARE(opened.count(), 2);
        QCOMPARE(bubble.engine.state().kind(), MirrorCameraState::Kind::stopped);
        QCOMPARE(bubble.microphone.state().kind(), MicrophoneMeterState::Kind::stopped);
        QTRY_VERIFY(window.isNull());
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
        QVERIFY(bubble.showAndSettle());
        QTRY_COMPARE(bubble.window()->geometry(), QRect(160, 160, 300, 225));
        const QPoint centre = bubble.window()->geometry().center();
        QVERIFY(wheel(centre, notches));
        QTRY_COMPARE(bubble.window()->width(), width);
        const QRect frame = bubble.window()->geometry();
        QCOMPARE(frame.height(), qRound(width * 3 / 4.0));
        // Each notch rounds to whole pixels, so many notches may drift by a pixel or two.
        QVERIFY2(
            (frame.center() - centre).manhattanLength() <= 4,
            qPrintable(
                QStringLiteral("centre moved to %1,%2").arg(frame.center().x()).arg(frame.center().y())));
        // Opened again, it is where and as large as the user left it, as far as the screen shows it.
        bubble.controller.close();
        QVERIFY(bubble.showAndSettle());
        QTRY_COMPARE(
            bubble.window()->geometry(),
            MirrorGeometry::keptOnScreen(frame, {QGuiApplication::primaryScreen()->availableGeometry()}));
    }

    void shapeChangeKeepsOriginAndWidth()
    {
        Bubble bubble;
        QVERIFY(bubble.showAndSettle());
        QTRY_COMPARE(bubble.window()->geometry(), QRect(160, 160, 300, 225));
        bubble.setShape(MirrorShape::circle);
        QTRY_COMPARE(bubble.window()->geometry(), QRect(160, 160, 300, 300));
        bubble.setShape(MirrorShape::roundedRectangle);
        QTRY_COMPARE(bubble.window()->geometry(), QRect(160, 160, 300, 225));
    }

    // Two monitors side by side; a bubble left on the right one comes back there, and inside the left one
    // once the right one is gone, shrunk to fit when it is larger.
    void savedFrameIsKeptOnAPresentMonitor_data()
    {
        QTest::addColumn<bool>("removeRight");
        QTest::addColumn<QRect>("saved");
        QTest::addColumn<QRect>("shown");
        QTest::addRow("on the right monitor it stays there")
            << false << QRect(1000, 100, 400, 300) << QRect(1000, 100, 400, 300);
        QTest::addRow("across the right monitor's edge it is pulled inside that monitor")
            << false << QRect(1300, 100, 400, 300) << QRect(1160, 100, 400, 300);
        QTest::addRow("on a removed monitor it comes back inside the main one")
            << true << QRect(1300, 100, 400, 300) << QRect(560, 100, 400, 300);
        QTest::addRow("larger than the main monitor it shrinks to fit, keeping its aspect")
            << true << QRect(1300, 0, 900, 675) << QRect(160, 0, 800, 600);
    }

    void savedFrameIsKeptOnAPresentMonitor()
    {
        QFETCH(bool, removeRight);
        QFETCH(QRect, saved);
        QFETCH(QRect, shown);
        const QString left = QStringLiteral("LEFT"), right = QStringLiteral("RIGHT");
        xrandr({QStringLiteral("--delmonitor"), left});
        xrandr({QStringLiteral("--delmonitor"), right});
        QVERIFY(xrandr({QStringLiteral("--setmonitor"), left, QStringLiteral("960/254x600/159+0+0"),
                        QStringLiteral("screen")}));
        if (!removeRight)
            QVERIFY(xrandr({QStringLiteral("--setmonitor"), right, QStringLiteral("600/159x800/212+960+0"),
                            QStringLiteral("none")}));
        const auto cleanUp = qScopeGuard([&] {
            xrandr({QStringLiteral("--delmonitor"), right});
            xrandr({QStringLiteral("--delmonitor"), left});
        });
        QTRY_COMPARE(QGuiApplication::screens().size(), removeRight ? 1 : 2);

        Bubble bubble(MirrorShape::roundedRectangle, saved);
        QVERIFY(bubble.showAndSettle());
        QTRY_COMPARE(bubble.window()->geometry(), shown);
    }

    // Without a compositor the circle is cut out of the window: a click on its corner reaches the window
    // below, a click inside reaches the bubble.
    void circleCornersLetClicksThrough()
    {
        Bubble bubble(MirrorShape::circle);
        ClickTarget below;
        below.setGeometry(160, 160, 300, 300);
        below.show();
        QVERIFY(QTest::qWaitForWindowExposed(&below));
        QVERIFY(bubble.showAndSettle());
        QTRY_COMPARE(bubble.window()->geometry(), QRect(160, 160, 300, 300));

        QVERIFY(click(QPoint(165, 165)));
        QTRY_COMPARE(below.presses, 1);
        // Inside the circle the bubble takes the click (and starts a move that goes nowhere).
        QVERIFY(click(QPoint(310, 310)));
        QTest::qWait(300);
        QCOMPARE(below.presses, 1);
    }
};

HALCY_X11_TEST_MAIN(tst_MirrorBubble)
#include "tst_mirrorbubble.moc"
