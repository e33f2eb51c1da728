// Pictures of the mirror bubble for people to look at: the test camera in each of the three shapes with
// the microphone meter, and two of the views shown instead of the camera. Run in an X session:
//   scripts/desktop-session.sh build/dev/bench/mirror_screenshots build/dev/test-artifacts
// Writes mirror-<shape>.png (the window as drawn), mirror-circle-on-screen.png (as a desktop without a
// compositor shows it), mirror-no-camera.png and mirror-camera-access.png.

#include "BenchSupport.h"
#include "Core/EnumNames.h"
#include "FakeCameraBackend.h"
#include "Mirror/MicrophoneLevelMonitor.h"
#include "Mirror/MirrorCameraEngine.h"
#include "Mirror/MirrorPreviewItem.h"
#include "Mirror/MirrorWindowController.h"
#include "Mirror/QtCameraBackend.h"

#include <QApplication>
#include <QDir>
#include <QQuickItem>
#include <QQuickView>
#include <QSGRendererInterface>
#include <QScreen>

#include <cstdio>

namespace {

int fail(const char *message)
{
    std::fprintf(stderr, "mirror_screenshots: %s\n", message);
    return 1;
}

// A window shown for the first time gets its size from the X server a moment later; until then the
// view is laid out at no size and a grab shows nothing of it.
bool laidOut(const MirrorWindowController &controller)
{
    const QQuickView *window = controller.window();
    return window->isExposed() && window->rootObject() && window->rootObject()->size() == window->size();
}

bool saveWindow(const MirrorWindowController &controller, const QString &path)
{
    if (!waitUntil([&] { return laidOut(controller); }))
        std::fprintf(stderr, "mirror_screenshots: %s: the view was not laid out in time\n", qPrintable(path));
    if (!controller.window()->grabWindow().save(path))
        return false;
    std::printf("saved %s\n", qPrintable(path));
    return true;
}

// The live bubble in each shape, the meter on: frames of the right size on screen and the meter past
// its start before each picture.
bool shootShapes(const QString &outputDir)
{
    MirrorCameraEngine engine(std::make_unique<QtCameraBackend>(), nullptr, QString());
    if (engine.devices().isEmpty()) {
        std::fprintf(stderr, "mirror_screenshots: no camera; build the tests' fake camera plugin\n");
        return false;
    }
    MicrophoneLevelMonitor microphone{QString()};
    MirrorWindowController controller(&engine, &microphone);
    for (const MirrorShape shape :
         {MirrorShape::roundedRectangle, MirrorShape::circle, MirrorShape::square}) {
        MirrorSettings settings;
        settings.shape = shape;
        settings.showMicLevel = true;
        controller.setSettings(settings);
        controller.show();
        auto *preview = controller.window()->rootObject()->findChild<MirrorPreviewItem *>(
            QStringLiteral("mirrorPreview"));
        int drawn = 0;
        const QMetaObject::Connection counting =
            QObject::connect(preview, &MirrorPreviewItem::frameDrawn, [&] { ++drawn; });
        const bool live = waitUntil(
            [&] {
                return drawn >= 5 && microphone.state().kind() == MicrophoneMeterState::Kind::running &&
                       microphone.level() > 0;
            },
            10000);
        QObject::disconnect(counting);
        if (!live)
            std::fprintf(stderr, "mirror_screenshots: %s: %d frames drawn, microphone %s\n",
                         qPrintable(enumName(shape)), drawn, qPrintable(microphone.stateName()));
        if (!saveWindow(controller, outputDir + QStringLiteral("/mirror-%1.png").arg(enumName(shape))))
            return false;
        if (shape == MirrorShape::circle) {
            const QRect area = controller.window()->geometry().adjusted(-20, -20, 20, 20);
            if (!controller.window()
                     ->screen()
                     ->grabWindow(0, area.x(), area.y(), area.width(), area.height())
                     .save(outputDir + QStringLiteral("/mirror-circle-on-screen.png")))
                return false;
        }
    }
    controller.close();
    return true;
}

// What the bubble shows instead of the camera: no camera at all, and one the user may not open.
bool shootStates(const QString &outputDir)
{
    auto camera = std::make_shared<FakeCameraBackend::Shared>();
    MirrorCameraEngine engine(std::make_unique<FakeCameraBackend>(camera), nullptr, QString());
    MicrophoneLevelMonitor microphone{QString()};
    MirrorWindowController controller(&engine, &microphone);
    MirrorSettings settings;
    settings.showMicLevel = false;
    controller.setSettings(settings);
    const struct
    {
        const char *file;
        CameraBackend::Authorization authorization;
        MirrorCameraState::Kind state;
    } views[] = {
        {"mirror-no-camera", CameraBackend::Authorization::authorized, MirrorCameraState::Kind::noCamera},
        {"mirror-camera-access", CameraBackend::Authorization::denied,
         MirrorCameraState::Kind::permissionDenied},
    };
    for (const auto &view : views) {
        {
            QMutexLocker locker(&camera->mutex);
            camera->authorization = view.authorization;
        }
        controller.show();
        if (!waitUntil([&] { return engine.state().kind() == view.state; }))
            std::fprintf(stderr, "mirror_screenshots: %s: the camera is %s\n", view.file,
                         qPrintable(engine.stateName()));
        if (!saveWindow(controller,
                        outputDir + QLatin1Char('/') + QLatin1String(view.file) + QStringLiteral(".png")))
            return false;
        controller.close();
        // With no event loop of its own, the tool carries out the closed view's deferred deletion, or the
        // view would outlive the objects its bindings read.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
        return fail("usage: mirror_screenshots OUTPUT_DIR");
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return fail("needs an X session (scripts/desktop-session.sh)");
    if (qEnvironmentVariableIsEmpty("GST_PLUGIN_PATH"))
        qputenv("GST_PLUGIN_PATH", HALCY_FAKE_CAMERA_DIR);
    qputenv("QT_QPA_PLATFORM", "xcb");
    // As the app draws it.
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QApplication app(argc, argv);
    const QString outputDir = QString::fromLocal8Bit(argv[1]);
    if (!QDir().mkpath(outputDir))
        return fail("cannot create the output folder");
    if (!shootShapes(outputDir) || !shootStates(outputDir))
        return fail("cannot write a picture");
    return 0;
}
