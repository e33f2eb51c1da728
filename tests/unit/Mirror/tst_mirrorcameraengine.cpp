#include "FakeCameraBackend.h"
#include "FakePasteboard.h"
#include "Mirror/MirrorCameraEngine.h"

#include <QBuffer>
#include <QImage>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

namespace {

using Outcome = CameraBackend::StartResult::Outcome;

// One step of a row's script: "start", "stop", "snap", "select:ID", "hold" (starts wait),
// "release" (one waiting start goes on), "waitStarts:N", "waitStops:N", "next:OUTCOME[:ERROR]".
struct Runner
{
    MirrorCameraEngine &engine;
    FakeCameraBackend::Shared &camera;

    int startCount()
    {
        QMutexLocker locker(&camera.mutex);
        return int(camera.started.size());
    }

    int stopCount()
    {
        QMutexLocker locker(&camera.mutex);
        return camera.stops;
    }

    bool holding()
    {
        QMutexLocker locker(&camera.mutex);
        return camera.holdStarts;
    }

    void settle()
    {
        QCoreApplication::processEvents();
        if (holding())
            return;
        QTRY_VERIFY(engine.state().kind() != MirrorCameraState::Kind::starting &&
                    engine.snapshotStatus() != MirrorCameraEngine::takingSnapMessage());
    }

    void run(const QString &step)
    {
        const QStringList parts = step.split(u':');
        const QString verb = parts.first();
        if (verb == QLatin1String("start")) {
            engine.start();
        } else if (verb == QLatin1String("stop")) {
            engine.stop();
        } else if (verb == QLatin1String("snap")) {
            engine.takeSnapshot();
        } else if (verb == QLatin1String("select")) {
            engine.setSelectedDeviceID(parts.value(1));
        } else if (verb == QLatin1String("hold")) {
            QMutexLocker locker(&camera.mutex);
            camera.holdStarts = true;
        } else if (verb == QLatin1String("release")) {
            {
                QMutexLocker locker(&camera.mutex);
                camera.holdStarts = false;
            }
            camera.startGate.release();
        } else if (verb == QLatin1String("waitStarts")) {
            QTRY_COMPARE(startCount(), parts.value(1).toInt());
        } else if (verb == QLatin1String("waitStops")) {
            // The stop runs on the session thread after the start before it, whose result is then on
            // its way to the GUI thread.
            QTRY_VERIFY(stopCount() >= parts.value(1).toInt());
        } else if (verb == QLatin1String("next")) {
            static const QMap<QString, Outcome> outcomes{
                {QStringLiteral("running"), Outcome::running},
                {QStringLiteral("inputFailed"), Outcome::inputFailed},
                {QStringLiteral("cannotAdd"), Outcome::cannotAddInput},
                {QStringLiteral("notRunning"), Outcome::notRunning}};
            QMutexLocker locker(&camera.mutex);
            camera.nextStart = {outcomes.value(parts.value(1)), parts.value(2)};
        } else {
            QFAIL(qPrintable(QStringLiteral("unknown step ") + step));
        }
        settle();
    }
};

const MirrorCameraDevices twoCameras{{QStringLiteral("A"), QStringLiteral("Front")},
                                     {QStringLiteral("B"), QStringLiteral("Desk")}};

} // namespace

class tst_MirrorCameraEngine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stateMachine_data()
    {
        QTest::addColumn<MirrorCameraDevices>("devices");
        QTest::addColumn<QString>("saved");
        QTest::addColumn<int>("authorization");
        QTest::addColumn<bool>("snapshotHasImage");
        QTest::addColumn<QStringList>("script");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("runningID");
        QTest::addColumn<QString>("selectedID");
        // Every announced selection, in order: what the owner writes to the preferences.
        QTest::addColumn<QStringList>("announced");
        QTest::addColumn<QStringList>("starts");
        QTest::addColumn<QString>("snapshotStatus");
        QTest::addColumn<int>("clipboardWrites");

        const int ok = int(CameraBackend::Authorization::authorized);
        const QString none;
        QTest::addRow("a saved camera that is gone is replaced by the first one")
            << twoCameras << "X" << ok << true << QStringList{} << "idle" << none << none << "A"
            << QStringList{"A"} << QStringList{} << none << 0;
        QTest::addRow("no camera: nothing selected, start ends in noCamera")
            << MirrorCameraDevices{} << "X" << ok << true << QStringList{"start"} << "noCamera" << none
            << none << none << QStringList{none} << QStringList{} << none << 0;
        QTest::addRow("refused device nodes: permissionDenied without a start")
            << twoCameras << "A" << int(CameraBackend::Authorization::denied) << true << QStringList{"start"}
            << "permissionDenied" << none << none << "A" << QStringList{} << QStringList{} << none << 0;
        QTest::addRow("unknown permission: failed with the reason")
            << twoCameras << "A" << int(CameraBackend::Authorization::unknown) << true << QStringList{"start"}
            << "failed" << MirrorCameraEngine::unknownPermissionMessage() << none << "A" << QStringList{}
            << QStringList{} << none << 0;
        QTest::addRow("start runs the saved camera")
            << twoCameras << "B" << ok << true << QStringList{"start"} << "running" << none << "B"
            << "B" << QStringList{} << QStringList{"B"} << none << 0;
        QTest::addRow("a new selection while running moves the session")
            << twoCameras << "B" << ok << true << QStringList{"start", "select:A"} << "running" << none << "A"
            << "A" << QStringList{"A"} << QStringList{"B", "A"} << none << 0;
        QTest::addRow("selecting the running camera again does not restart")
            << twoCameras << "A" << ok << true << QStringList{"start", "select:A"} << "running" << none << "A"
            << "A" << QStringList{} << QStringList{"A"} << none << 0;
        QTest::addRow("a switch while starting ends on the new camera")
            << twoCameras << "A" << ok << true
            << QStringList{"hold", "start", "waitStarts:1", "select:B", "release", "waitStarts:2", "release"}
            << "running" << none << "B"
            << "B" << QStringList{"B"} << QStringList{"A", "B"} << none << 0;
        QTest::addRow("switching back while the switch starts ends on the camera chosen last")
            << twoCameras << "A" << ok << true
            << QStringList{"start",    "hold",    "select:B",     "waitStarts:2",
                           "select:A", "release", "waitStarts:3", "release"}
            << "running" << none << "A"
            << "A" << QStringList{"B", "A"} << QStringList{"A", "B", "A"} << none << 0;
        QTest::addRow("a stop while starting stays stopped when the camera comes up late")
            << twoCameras << "A" << ok << true
            << QStringList{"hold", "start", "waitStarts:1", "stop", "release", "waitStops:1"} << "stopped"
            << none << none << "A" << QStringList{} << QStringList{"A"} << none << 0;
        QTest::addRow("a camera the session cannot add keeps the running id")
            << twoCameras << "A" << ok << true << QStringList{"start", "next:cannotAdd", "select:B"}
            << "failed" << MirrorCameraEngine::cannotUseMessage() << "A"
            << "B" << QStringList{"B"} << QStringList{"A", "B"} << none << 0;
        QTest::addRow("a device input that fails shows the camera's words and keeps the id")
            << twoCameras << "A" << ok << true
            << QStringList{"start", "next:inputFailed:Device is busy", "select:B"} << "failed"
            << "Device is busy"
            << "A"
            << "B" << QStringList{"B"} << QStringList{"A", "B"} << none << 0;
        QTest::addRow("a session that does not run clears the id")
            << twoCameras << "A" << ok << true << QStringList{"start", "next:notRunning", "select:B"}
            << "failed" << MirrorCameraEngine::didNotStartMessage() << none << "B" << QStringList{"B"}
            << QStringList{"A", "B"} << none << 0;
        QTest::addRow("stop clears the id and the snap status")
            << twoCameras << "A" << ok << true << QStringList{"start", "snap", "stop"} << "stopped" << none
            << none << "A" << QStringList{} << QStringList{"A"} << none << 1;
        QTest::addRow("a snap while stopped asks to start first and copies nothing")
            << twoCameras << "A" << ok << true << QStringList{"snap"} << "idle" << none << none << "A"
            << QStringList{} << QStringList{} << MirrorCameraEngine::startFirstMessage() << 0;
        QTest::addRow("a snap while running copies a PNG")
            << twoCameras << "A" << ok << true << QStringList{"start", "snap"} << "running" << none << "A"
            << "A" << QStringList{} << QStringList{"A"} << MirrorCameraEngine::copiedMessage() << 1;
        QTest::addRow("a snap without image data says so")
            << twoCameras << "A" << ok << false << QStringList{"start", "snap"} << "running" << none << "A"
            << "A" << QStringList{} << QStringList{"A"} << MirrorCameraEngine::missingDataMessage() << 0;
    }

    void stateMachine()
    {
        QFETCH(MirrorCameraDevices, devices);
        QFETCH(QString, saved);
        QFETCH(int, authorization);
        QFETCH(bool, snapshotHasImage);
        QFETCH(QStringList, script);

        auto camera = std::make_shared<FakeCameraBackend::Shared>();
        camera->devices = devices;
        camera->authorization = CameraBackend::Authorization(authorization);
        if (snapshotHasImage) {
            camera->snapshot = QImage(64, 48, QImage::Format_RGB32);
            camera->snapshot.fill(Qt::darkCyan);
        }
        FakePasteboard pasteboard;
        MirrorCameraEngine engine(std::make_unique<FakeCameraBackend>(camera), &pasteboard, saved);
        QSignalSpy announced(&engine, &MirrorCameraEngine::selectedDeviceIDChanged);
        // The selection repaired at construction is announced too: the owner connects before.
        QStringList announcements;
        if (engine.selectedDeviceID() != saved)
            announcements << engine.selectedDeviceID();

        Runner runner{engine, *camera};
        for (const QString &step : script) {
            runner.run(step);
            if (QTest::currentTestFailed())
                return;
        }
        for (const QList<QVariant> &arguments : announced)
            announcements << arguments.first().toString();

        QTEST(engine.state().name(), "state");
        QTEST(engine.state().message(), "message");
        QTEST(engine.runningDeviceID(), "runningID");
        QTEST(engine.selectedDeviceID(), "selectedID");
        QTEST(announcements, "announced");
        {
            QMutexLocker locker(&camera->mutex);
            QTEST(camera->started, "starts");
        }
        QFETCH(int, clipboardWrites);
        QCOMPARE(pasteboard.writeCount(), clipboardWrites);
        if (clipboardWrites > 0) {
            // The image alone, as PNG, and it decodes to the frame.
            QCOMPARE(pasteboard.lastWritten()->formats(), QStringList{QStringLiteral("image/png")});
            const QImage copied =
                QImage::fromData(pasteboard.lastWritten()->data(QStringLiteral("image/png")), "PNG");
            QCOMPARE(copied.size(), QSize(64, 48));
        }
        QTEST(engine.snapshotStatus(), "snapshotStatus");
    }
};

QTEST_MAIN(tst_MirrorCameraEngine)
#include "tst_mirrorcameraengine.moc"
