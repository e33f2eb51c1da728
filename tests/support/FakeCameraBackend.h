#pragma once

#include "Mirror/CameraBackend.h"
#include "Mirror/MirrorFrameSource.h"

#include <QMutex>
#include <QSemaphore>
#include <QStringList>

#include <memory>

// A camera stack whose devices, permission and session outcomes a test sets. Devices and permission are
// read on the GUI thread; the session calls run on the engine's session thread, under the mutex, and with
// holdStarts each start waits for startGate, as a slow camera does.
class FakeCameraBackend final : public CameraBackend
{
public:
    struct Shared
    {
        MirrorCameraDevices devices;
        Authorization authorization = Authorization::authorized;
        MirrorFrameSource frames;
        QMutex mutex;
        StartResult nextStart{StartResult::Outcome::running, {}};
        QStringList started;
        bool running = false, holdStarts = false;
        QImage snapshot;
        QSemaphore startGate;
    };

    explicit FakeCameraBackend(std::shared_ptr<Shared> shared) : m_shared(std::move(shared)) {}

    MirrorCameraDevices devices() const override { return m_shared->devices; }
    Authorization authorization() const override { return m_shared->authorization; }
    MirrorFrameSource *frames() const override { return &m_shared->frames; }

    StartResult start(const QString &deviceID) override
    {
        QMutexLocker locker(&m_shared->mutex);
        m_shared->started.append(deviceID);
        if (m_shared->holdStarts) {
            locker.unlock();
            m_shared->startGate.acquire();
            locker.relock();
        }
        m_shared->running = m_shared->nextStart.outcome == StartResult::Outcome::running;
        return m_shared->nextStart;
    }
    void stop() override
    {
        QMutexLocker locker(&m_shared->mutex);
        m_shared->running = false;
    }
    SnapshotResult takeSnapshot() override
    {
        QMutexLocker locker(&m_shared->mutex);
        if (!m_shared->running)
            return {SnapshotResult::Outcome::notRunning, {}, {}};
        return {SnapshotResult::Outcome::captured, {}, m_shared->snapshot};
    }

private:
    std::shared_ptr<Shared> m_shared;
};
