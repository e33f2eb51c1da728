#pragma once

#include "Mirror/CameraBackend.h"

#include <QMutex>
#include <QVideoFrame>

#include <memory>

class MirrorFrameSource;
class QCamera;
class QMediaCaptureSession;
class QObject;
class QThread;
class QVideoSink;

// The camera through Qt Multimedia. The video sink lives on a thread that does nothing else: Qt 6.4's
// GStreamer renderer hands every frame to the sink's thread and waits for it, and a pipeline whose first
// frame waits too long there never delivers a second one. Frames are converted on the session thread
// to the size the preview shows and published as images; the GUI only draws the newest.
class QtCameraBackend final : public CameraBackend
{
public:
    QtCameraBackend();
    // Session thread.
    ~QtCameraBackend() override;

    MirrorCameraDevices devices() const override;
    Authorization authorization() const override;
    MirrorFrameSource *frames() const override { return m_frames.get(); }

    StartResult start(const QString &deviceID) override;
    void stop() override;
    SnapshotResult takeSnapshot() override;

private:
    void ensureSession();
    // Session thread. Ends the camera and the whole session; false when there was none.
    bool tearDown();
    void frameArrived(const QVideoFrame &frame);
    void convertPending();

    std::unique_ptr<MirrorFrameSource> m_frames;
    // Session thread.
    QObject *m_sessionContext = nullptr;
    QMediaCaptureSession *m_session = nullptr;
    QCamera *m_camera = nullptr;
    // The newest frame as the camera delivered it, for a snap.
    QVideoFrame m_lastFrame;
    // Frame thread.
    QThread *m_frameThread = nullptr;
    QVideoSink *m_sink = nullptr;

    QMutex m_mutex;
    QVideoFrame m_pending;
    bool m_conversionQueued = false;
};
