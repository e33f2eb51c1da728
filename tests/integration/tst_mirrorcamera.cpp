#include "DesktopTools.h"
#include "Mirror/MicrophoneLevelMonitor.h"
#include "Mirror/MirrorCameraEngine.h"
#include "Mirror/MirrorPreviewItem.h"
#include "Mirror/MirrorWindowController.h"
#include "Mirror/QtCameraBackend.h"
#include "Platform/Pasteboard.h"
#include "TestTime.h"
#include "X11TestMain.h"

#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>

// The whole mirror on Qt Multimedia's real GStreamer path, with a test-pattern camera that a device
// provider plugin (a test peer) adds to GStreamer's device list.
class tst_MirrorCamera : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        HALCY_REQUIRE_X11_SESSION();
        // Read when Qt Multimedia first starts GStreamer, which no code has asked for yet.
        qputenv("GST_PLUGIN_PATH", HALCY_FAKE_CAMERA_DIR);
    }

    void bubbleShowsTheCameraAndCopiesASnap()
    {
        const std::unique_ptr<Pasteboard> pasteboard = Pasteboard::createDefault();
        MirrorCameraEngine engine(std::make_unique<QtCameraBackend>(), pasteboard.get(), QString());
        QCOMPARE(engine.devices().size(), 1);
        QCOMPARE(engine.devices().first().name, QStringLiteral("Halcy Test Camera"));
        MicrophoneLevelMonitor microphone{QString()};
        MirrorWindowController controller(&engine, &microphone);

        controller.show();
        QTRY_COMPARE_WITH_TIMEOUT(engine.state().kind(), MirrorCameraState::Kind::running,
                                  scaledTimeout(10000));
        auto *preview = controller.window()->rootObject()->findChild<MirrorPreviewItem *>(
            QStringLiteral("mirrorPreview"));
        // The preview keeps moving: twenty frames reach the screen, not one and then nothing.
        QSignalSpy drawn(preview, &MirrorPreviewItem::frameDrawn);
        QTRY_VERIFY_WITH_TIMEOUT(drawn.count() >= 21, scaledTimeout(5000));

        engine.takeSnapshot();
        QTRY_COMPARE_WITH_TIMEOUT(engine.snapshotStatus(), MirrorCameraEngine::copiedMessage(),
                                  scaledTimeout(5000));
        const std::optional<QByteArray> png = xclipOutput(QStringLiteral("image/png"));
        QCOMPARE(QImage::fromData(png.value_or(QByteArray()), "PNG").size(), QSize(640, 480));

        controller.close();
        QTRY_VERIFY_WITH_TIMEOUT(engine.frames()->latest().image.isNull(), scaledTimeout(5000));
    }
};

HALCY_X11_TEST_MAIN(tst_MirrorCamera)
#include "tst_mirrorcamera.moc"
