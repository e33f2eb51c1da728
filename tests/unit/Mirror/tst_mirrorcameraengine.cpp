#include "FakeCameraBackend.h"
#include "FakePasteboard.h"
#include "Mirror/MirrorCameraEngine.h"

#include <QMimeData>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

namespace {

using Outcome = CameraBackend::StartResult::Outcome;

// One step of a row's script: "start", "stop", "snap", "select:ID", "unplug" (no cameras any more),
// "auth:denied|unknown", "blank" (snaps carry no image), "hold" (starts wait), "release" (one waiting
// start goes on), "waitStarts:N", "next:OUTCOME[:ERROR]". Each step but a held start waits for the
// engine's answer, which comes after the answers to the steps before it.
void run(MirrorCameraEngine &engine, FakeCameraBackend::Shared &camera, const QString &step)
{
    const auto locked = [&camera](auto work) {
        QMutexLocker locker(&camera.mutex);
        return work();
    };
    const QStringList parts = step.split(u':');
    const QString verb = parts.first(), argument = parts.value(1);
    if (verb == u"start") {
        engine.start();
    } else if (verb == u"stop") {
        engine.stop();
    } else if (verb == u"snap") {
        engine.takeSnapshot();
    } else if (verb == u"select") {
        engine.setSelectedDeviceID(argument);
    } else if (verb == u"unplug") {
        camera.devices.clear();
    } else if (verb == u"auth") {
        camera.authorization = argument == u"denied" ? CameraBackend::Authorization::denied
                                                     : CameraBackend::Authorization::unknown;
    } else if (verb == u"blank") {
        camera.snapshot = QImage(); // before the session thread has work
    } else if (verb == u"hold" || verb == u"release") {
        locked([&] { camera.holdStarts = verb == u"hold"; });
        if (verb == u"release")
            camera.startGate.release();
    } else if (verb == u"waitStarts") {
        QTRY_COMPARE(locked([&] { return camera.started.size(); }), argument.toInt());
    } else if (verb == u"next") {
        const QStringList outcomes{"inputFailed", "cannotAdd", "notRunning", "running"}; // in Outcome's order
        locked([&] { camera.nextStart = {Outcome(outcomes.indexOf(argument)), parts.value(2)}; });
    } else {
        QFAIL(qPrintable("unknown step " + step));
    }
    QCoreApplication::processEvents();
    if (!locked([&] { return camera.holdStarts; }))
        QTRY_VERIFY(engine.state().kind() != MirrorCameraState::Kind::starting &&
                    engine.snapshotStatus() != MirrorCameraEngine::takingSnapMessage());
}

} // namespace

class tst_MirrorCameraEngine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stateMachine_data()
    {
        QTest::addColumn<QString>("saved");
        QTest::addColumn<QStringList>("script");
        QTest::addColumn<QString>("state"); // with the message after a colon
        QTest::addColumn<QString>("runningID");
        // Every announced selection, in order ("-" for none): what the owner writes to the preferences.
        QTest::addColumn<QString>("announced");
        QTest::addColumn<QString>("starts");
        QTest::addColumn<QString>("snapshotStatus");

        const QString none;
        const auto row = [](const char *name, const QString &saved, const QStringList &script,
                            const QString &state, const QString &running, const QString &announced,
                            const QString &starts, const QString &snapshot) {
            QTest::addRow("%s", name)
                << saved << script << state << running << announced << starts << snapshot;
        };
        row("no camera: nothing selected, start ends in noCamera", "A", {"unplug", "start"}, "noCamera", none,
            "-", none, none);
        row("refused device nodes: permissionDenied without a start", "A", {"auth:denied", "start"},
            "permissionDenied", none, none, none, none);
        row("unknown permission: failed with the reason", "A", {"auth:unknown", "start"},
            "failed: " + MirrorCameraEngine::unknownPermissionMessage(), none, none, none, none);
        row("start runs the saved camera; a snap copies a PNG", "B", {"start", "snap"}, "running", "B", none,
            "B", MirrorCameraEngine::copiedMessage());
        row("a new selection while running moves the session", "B", {"start", "select:A"}, "running", "A",
            "A", "B A", none);
        row("selecting the running camera again does not restart", "A", {"start", "select:A"}, "running", "A",
            none, "A", none);
        row("a switch while starting ends on the new camera", "A",
            {"hold", "start", "waitStarts:1", "select:B", "release", "waitStarts:2", "release"}, "running",
            "B", "B", "A B", none);
        row("switching back while the switch starts ends on the camera chosen last", "A",
            {"start", "hold", "select:B", "waitStarts:2", "select:A", "release", "waitStarts:3", "release"},
            "running", "A", "B A", "A B A", none);
        row("a stop while starting stays stopped when the camera comes up late", "A",
            {"hold", "start", "waitStarts:1", "stop", "release", "snap"}, "stopped", none, none, "A",
            MirrorCameraEngine::startFirstMessage());
        row("a camera the session cannot add keeps the running id", "A",
            {"start", "next:cannotAdd", "select:B"}, "failed: " + MirrorCameraEngine::cannotUseMessage(), "A",
            "B", "A B", none);
        row("a device input that fails shows the camera's words and keeps the id", "A",
            {"start", "next:inputFailed:Device is busy", "select:B"}, "failed: Device is busy", "A", "B",
            "A B", none);
        row("a session that does not run clears the id", "A", {"start", "next:notRunning", "select:B"},
            "failed: " + MirrorCameraEngine::didNotStartMessage(), none, "B", "A B", none);
        row("stop clears the id and the snap status", "A", {"blank", "start", "snap", "stop"}, "stopped",
            none, none, "A", none);
        row("a saved camera that is gone is replaced by the first; a snap while stopped copies nothing", "X",
            {"snap"}, "idle", none, "A", none, MirrorCameraEngine::startFirstMessage());
        row("a snap without image data says so", "A", {"blank", "start", "snap"}, "running", "A", none, "A",
            MirrorCameraEngine::missingDataMessage());
    }

    void stateMachine()
    {
        QFETCH(QString, saved);
        QFETCH(QStringList, script);
        auto camera = std::make_shared<FakeCameraBackend::Shared>();
        camera->devices = {{QStringLiteral("A"), QStringLiteral("Front")},
                           {QStringLiteral("B"), QStringLiteral("Desk")}};
        camera->snapshot = QImage(64, 48, QImage::Format_RGB32);
        FakePasteboard pasteboard;
        MirrorCameraEngine engine(std::make_unique<FakeCameraBackend>(camera), &pasteboard, saved);
        QSignalSpy announced(&engine, &MirrorCameraEngine::selectedDeviceIDChanged);
        // The selection repaired at construction is announced too: the owner connects before.
        QStringList announcements;
        if (engine.selectedDeviceID() != saved)
            announcements << engine.selectedDeviceID();
        for (const QString &step : script) {
            run(engine, *camera, step);
            if (QTest::currentTestFailed())
                return;
        }
        for (const QList<QVariant> &arguments : announced)
            announcements << arguments.first().toString();

        const QString message = engine.state().message();
        QTEST(engine.state().name() + (message.isEmpty() ? QString() : ": " + message), "state");
        QTEST(engine.runningDeviceID(), "runningID");
        QCOMPARE(engine.selectedDeviceID(), announcements.isEmpty() ? saved : announcements.last());
        QTEST(announcements.replaceInStrings(QRegularExpression("^$"), "-").join(u' '), "announced");
        QTEST(camera->started.join(u' '), "starts"); // the session thread is idle by now
        QTEST(engine.snapshotStatus(), "snapshotStatus");
        const bool copied = engine.snapshotStatus() == MirrorCameraEngine::copiedMessage();
        QCOMPARE(pasteboard.writeCount(), int(copied));
        if (copied) { // the image alone, as a PNG of the frame
            QCOMPARE(pasteboard.lastWritten()->formats(), QStringList{QStringLiteral("image/png")});
            const QByteArray png = pasteboard.lastWritten()->data(QStringLiteral("image/png"));
            QCOMPARE(QImage::fromData(png, "PNG").size(), QSize(64, 48));
        }
    }
};

QTEST_MAIN(tst_MirrorCameraEngine)
#include "tst_mirrorcameraengine.moc"
