#pragma once

#include "Mirror/CameraBackend.h"
#include "Mirror/MirrorFrameSource.h"

#include <QMutex>
#include <QSemaphore>
#include <QStringList>

#include <atomic>
#include <memory>

// A camera stack whose devices, permission and session outcomes a test sets. Session calls run on the
// engine's session thread; with holdStarts() each start waits until releaseStart(), as a slow camera does.
class FakeCameraBackend final : public CameraBackend
{
public:
    struct Shared
    {
        QMutex mutex;
        MirrorCameraDevices devices;
        Authorization authorization = Authorization::authorized;
        StartResult nextStart{StartResult::Outcome::running, {}};
        QStringList started;
        int stops = 0;
        bool running = false;
        QImage snapshot;
        bool holdStarts = false;
        QSemaphore startGate;
        MirrorFrameSource frames;
    };

    explicit FakeCameraBackend(std::shared_ptr<Shared> shared) : m_shared(std::move(shared)) {}

    MirrorCameraDevices devices() const override
    {
        QMutexLocker locker(&m_shared->mutex);
        return m_shared->devices;
    }
    Authorization authorization() const override
    {
        QMutexLocker locker(&m_shared->mutex);
        return m_shared->authorization;
    }
    MirrorFrameSource *frames() const override { return &m_shared->frames; }

    StartResult start(const QString &deviceID) override
    {
        bool hold;
        {
            QMutexLocker locker(&m_shared->mutex);
            m_shared->started.append(deviceID);
            hold = m_shared->holdStarts;
        }
        if (hold)
            m_shared->startGate.acquire();
        QMutexLocker locker(&m_shared->mutex);
        m_shared->running = m_shared->nextStart.outcome == StartResult::Outcome::running;
        return m_shared->nextStart;
    }
    void stop() override
    {
        QMutexLocker locker(&m_shared->mutex);
        ++m_shared->stops;
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
