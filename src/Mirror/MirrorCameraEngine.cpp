#include "Mirror/MirrorCameraEngine.h"

#include "Core/Logging.h"
#include "Mirror/MirrorFrameSource.h"
#include "Platform/Pasteboard.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QMimeData>
#include <QPointer>
#include <QThread>

namespace {

void assertGuiThread()
{
    Q_ASSERT(!QCoreApplication::instance() ||
             QThread::currentThread() == QCoreApplication::instance()->thread());
}

QByteArray encodePng(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return {};
    return bytes;
}

} // namespace

MirrorCameraEngine::MirrorCameraEngine(std::unique_ptr<CameraBackend> backend, Pasteboard *pasteboard,
                                       const QString &savedDeviceID, QObject *parent)
    : QObject(parent), m_backend(std::move(backend)), m_pasteboard(pasteboard), m_sessionThread(new QThread),
      m_sessionContext(new QObject), m_selectedDeviceID(savedDeviceID)
{
    m_sessionThread->setObjectName(QStringLiteral("mirror session"));
    m_sessionContext->moveToThread(m_sessionThread);
    m_sessionThread->start();
    refreshDevices();
}

MirrorCameraEngine::~MirrorCameraEngine()
{
    // The backend's camera objects belong to the session thread: they are torn down there, after any
    // call still queued.
    CameraBackend *backend = m_backend.release();
    QObject *context = m_sessionContext;
    QMetaObject::invokeMethod(context, [backend, context] {
        backend->stop();
        delete backend;
        delete context;
        QThread::currentThread()->quit();
    });
    m_sessionThread->wait();
    delete m_sessionThread;
}

template <typename Work, typename Done> void MirrorCameraEngine::onSession(Work work, Done done)
{
    QPointer<MirrorCameraEngine> self(this);
    QMetaObject::invokeMethod(m_sessionContext, [self, work = std::move(work), done = std::move(done),
                                                 backend = m_backend.get()]() mutable {
        auto result = work(backend);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, done = std::move(done), result = std::move(result)]() mutable {
                if (self)
                    done(result);
            },
            Qt::QueuedConnection);
    });
}

MirrorFrameSource *MirrorCameraEngine::frames() const
{
    return m_backend ? m_backend->frames() : nullptr;
}

QVariantList MirrorCameraEngine::deviceList() const
{
    return deviceVariantList(m_devices);
}

void MirrorCameraEngine::setState(const MirrorCameraState &state)
{
    if (state == m_state)
        return;
    qCDebug(lcMirror) << "Camera" << state.name() << state.message();
    m_state = state;
    emit stateChanged();
}

void MirrorCameraEngine::setSnapshotStatus(const QString &status)
{
    if (status == m_snapshotStatus)
        return;
    m_snapshotStatus = status;
    emit snapshotStatusChanged();
}

void MirrorCameraEngine::setMirrored(bool mirrored)
{
    if (mirrored == m_isMirrored)
        return;
    m_isMirrored = mirrored;
    emit isMirroredChanged();
}

void MirrorCameraEngine::setSelectedDeviceID(const QString &id)
{
    assertGuiThread();
    if (id == m_selectedDeviceID)
        return;
    m_selectedDeviceID = id;
    emit selectedDeviceIDChanged(id);

    // Switching cameras: only a live or starting session follows the selection, and only when it is
    // not already on that device or on its way to it.
    const auto needsSwitch = [this] {
        const auto kind = m_state.kind();
        if (kind == MirrorCameraState::Kind::running)
            return m_selectedDeviceID != m_runningDeviceID;
        return kind == MirrorCameraState::Kind::starting &&
               (m_selectedDeviceID != m_runningDeviceID || m_selectedDeviceID != m_startingDeviceID);
    };
    if (!needsSwitch())
        return;
    QMetaObject::invokeMethod(
        this,
        [this, needsSwitch] {
            if (needsSwitch())
                resolveAndStart();
        },
        Qt::QueuedConnection);
}

void MirrorCameraEngine::refreshDevices()
{
    assertGuiThread();
    MirrorCameraDevices devices = m_backend->devices();
    if (devices != m_devices) {
        m_devices = devices;
        emit devicesChanged();
    }
    setSelectedDeviceID(repairedSelection(m_devices, m_selectedDeviceID));
}

void MirrorCameraEngine::start()
{
    assertGuiThread();
    refreshDevices();
    switch (m_backend->authorization()) {
    case CameraBackend::Authorization::denied:
        stop();
        setState(MirrorCameraState::Kind::permissionDenied);
        return;
    case CameraBackend::Authorization::unknown:
        setState(MirrorCameraState::failed(unknownPermissionMessage()));
        return;
    case CameraBackend::Authorization::authorized:
        resolveAndStart();
        return;
    }
}

void MirrorCameraEngine::resolveAndStart()
{
    const MirrorCameraDevices devices = m_backend->devices();
    auto device = std::find_if(devices.cbegin(), devices.cend(),
                               [this](const auto &candidate) { return candidate.id == m_selectedDeviceID; });
    if (device == devices.cend())
        device = devices.cbegin();
    if (device == devices.cend()) {
        setState(MirrorCameraState::Kind::noCamera);
        return;
    }
    setState(MirrorCameraState::Kind::starting);
    const quint64 request = ++m_request;
    const QString deviceID = device->id;
    m_startingDeviceID = deviceID;
    onSession([deviceID](CameraBackend *backend) { return backend->start(deviceID); },
              [this, request, deviceID](const CameraBackend::StartResult &result) {
                  if (request != m_request)
                      return;
                  using Outcome = CameraBackend::StartResult::Outcome;
                  switch (result.outcome) {
                  // A session that could not take the new input keeps the old id on purpose: only a
                  // stop, a start that runs and a start that does not run replace it.
                  case Outcome::inputFailed:
                      setState(MirrorCameraState::failed(result.error));
                      break;
                  case Outcome::cannotAddInput:
                      setState(MirrorCameraState::failed(cannotUseMessage()));
                      break;
                  case Outcome::notRunning:
                      m_runningDeviceID.clear();
                      setState(MirrorCameraState::failed(didNotStartMessage()));
                      break;
                  case Outcome::running:
                      m_runningDeviceID = deviceID;
                      setState(MirrorCameraState::Kind::running);
                      break;
                  }
              });
}

void MirrorCameraEngine::stop()
{
    assertGuiThread();
    ++m_request;
    m_runningDeviceID.clear();
    setState(MirrorCameraState::Kind::stopped);
    setSnapshotStatus(QString());
    onSession(
        [](CameraBackend *backend) {
            backend->stop();
            return true;
        },
        [](bool) {});
}

void MirrorCameraEngine::takeSnapshot()
{
    assertGuiThread();
    setSnapshotStatus(takingSnapMessage());
    struct Snap
    {
        CameraBackend::SnapshotResult result;
        QByteArray png;
    };
    // The PNG is encoded on the session thread too: a large frame takes tens of milliseconds.
    onSession(
        [](CameraBackend *backend) {
            Snap snap{backend->takeSnapshot(), {}};
            if (snap.result.outcome == CameraBackend::SnapshotResult::Outcome::captured &&
                !snap.result.image.isNull())
                snap.png = encodePng(snap.result.image);
            return snap;
        },
        [this](const Snap &snap) {
            using Outcome = CameraBackend::SnapshotResult::Outcome;
            switch (snap.result.outcome) {
            case Outcome::notRunning:
                setSnapshotStatus(startFirstMessage());
                return;
            case Outcome::failed:
                setSnapshotStatus(snap.result.error);
                return;
            case Outcome::captured:
                break;
            }
            if (snap.result.image.isNull()) {
                setSnapshotStatus(missingDataMessage());
                return;
            }
            if (snap.png.isEmpty() || !m_pasteboard) {
                setSnapshotStatus(cannotCopyMessage());
                return;
            }
            auto *data = new QMimeData;
            data->setData(QStringLiteral("image/png"), snap.png);
            m_pasteboard->clear();
            setSnapshotStatus(m_pasteboard->write(data) ? copiedMessage() : cannotCopyMessage());
        });
}

QString MirrorCameraEngine::cannotUseMessage()
{
    return QStringLiteral("The selected camera cannot be used right now.");
}

QString MirrorCameraEngine::didNotStartMessage()
{
    return QStringLiteral("The camera did not start.");
}

QString MirrorCameraEngine::unknownPermissionMessage()
{
    return QStringLiteral("The system returned an unknown camera permission state.");
}

QString MirrorCameraEngine::takingSnapMessage()
{
    return QStringLiteral("Taking snap...");
}

QString MirrorCameraEngine::startFirstMessage()
{
    return QStringLiteral("Start Mirror before taking a snap.");
}

QString MirrorCameraEngine::cannotCopyMessage()
{
    return QStringLiteral("Snap could not be copied.");
}

QString MirrorCameraEngine::missingDataMessage()
{
    return QStringLiteral("The camera did not return image data.");
}

QString MirrorCameraEngine::copiedMessage()
{
    return QStringLiteral("Snap copied to clipboard.");
}
