#pragma once

#include "Mirror/MirrorCameraDevice.h"

#include <QImage>
#include <QString>

class MirrorFrameSource;

// What the camera engine needs from a camera stack. Device listing and the permission check are cheap
// and called on the GUI thread; the session calls may block and run only on the engine's session
// thread, one at a time.
class CameraBackend
{
public:
    enum class Authorization
    {
        authorized,
        denied,
        unknown
    };

    struct StartResult
    {
        enum class Outcome
        {
            inputFailed,
            cannotAddInput,
            notRunning,
            running
        };
        Outcome outcome = Outcome::notRunning;
        // The camera stack's own words, for inputFailed.
        QString error;
    };

    struct SnapshotResult
    {
        enum class Outcome
        {
            notRunning,
            failed,
            captured
        };
        Outcome outcome = Outcome::notRunning;
        QString error;
        QImage image;
    };

    virtual ~CameraBackend() = default;

    virtual MirrorCameraDevices devices() const = 0;
    virtual Authorization authorization() const = 0;
    // The preview frames of the running session.
    virtual MirrorFrameSource *frames() const = 0;

    // Session thread. Drops whatever input the session had, then opens `deviceID` and runs it.
    virtual StartResult start(const QString &deviceID) = 0;
    // Session thread. Leaves the session empty, so the next start rebuilds it.
    virtual void stop() = 0;
    // Session thread.
    virtual SnapshotResult takeSnapshot() = 0;
};
