#include "Mirror/QtCameraBackend.h"

#include "Core/Logging.h"
#include "Mirror/MirrorFrameConverter.h"
#include "Mirror/MirrorFrameSource.h"
#include "Platform/CameraDeviceAccess.h"
#include "Platform/ProcessMemory.h"

#include <QCamera>
#include <QCameraDevice>
#include <QEventLoop>
#include <QMediaCaptureSession>
#include <QMediaDevices>
#include <QThread>
#include <QTimer>
#include <QVideoSink>

namespace {

constexpr int startTimeoutMs = 8000;

} // namespace

QtCameraBackend::QtCameraBackend() : m_frames(std::make_unique<MirrorFrameSource>()) {}

QtCameraBackend::~QtCameraBackend()
{
    tearDown();
    delete m_sessionContext;
}

MirrorCameraDevices QtCameraBackend::devices() const
{
    MirrorCameraDevices devices;
    for (const QCameraDevice &device : QMediaDevices::videoInputs())
        devices.append({QString::fromUtf8(device.id()), device.description()});
    return devices;
}

CameraBackend::Authorization QtCameraBackend::authorization() const
{
    // Qt lists only the cameras it can open, so an empty list beside refused device nodes means the
    // user lacks the permission rather than a camera.
    if (QMediaDevices::videoInputs().isEmpty() && CameraDeviceAccess::allNodesRefused())
        return Authorization::denied;
    return Authorization::authorized;
}

void QtCameraBackend::ensureSession()
{
    if (m_session)
        return;
    if (!m_sessionContext)
        m_sessionContext = new QObject;
    m_session = new QMediaCaptureSession;
    m_frameThread = new QThread;
    m_frameThread->setObjectName(QStringLiteral("mirror frames"));
    m_frameThread->start();
    QObject frameContext;
    frameContext.moveToThread(m_frameThread);
    QMetaObject::invokeMethod(
        &frameContext, [this] { m_sink = new QVideoSink; }, Qt::BlockingQueuedConnection);
    QObject::connect(
        m_sink, &QVideoSink::videoFrameChanged, m_sink,
        [this](const QVideoFrame &frame) { frameArrived(frame); }, Qt::DirectConnection);
    m_session->setVideoSink(m_sink);
}

void QtCameraBackend::frameArrived(const QVideoFrame &frame)
{
    // Frame thread: keep this short, the camera pipeline waits for it.
    QMutexLocker locker(&m_mutex);
    m_pending = frame;
    if (m_conversionQueued || !frame.isValid())
        return;
    m_conversionQueued = true;
    QMetaObject::invokeMethod(
        m_sessionContext, [this] { convertPending(); }, Qt::QueuedConnection);
}

void QtCameraBackend::convertPending()
{
    QVideoFrame frame;
    {
        QMutexLocker locker(&m_mutex);
        frame = std::move(m_pending);
        m_pending = QVideoFrame();
        m_conversionQueued = false;
    }
    if (!frame.isValid() || !m_camera)
        return;
    m_lastFrame = frame;
    // Only what the bubble shows is converted; a snap converts its frame in full when it is taken.
    const MirrorFrameSource::Presentation presentation = m_frames->presentation();
    const QImage image = MirrorFrameConverter::toPreview(frame, presentation.size, presentation.mirrored);
    if (!image.isNull())
        m_frames->publish({image, presentation.mirrored});
}

CameraBackend::StartResult QtCameraBackend::start(const QString &deviceID)
{
    tearDown();
    ensureSession();
    const QList<QCameraDevice> inputs = QMediaDevices::videoInputs();
    const auto device = std::find_if(inputs.cbegin(), inputs.cend(), [&](const QCameraDevice &d) {
        return QString::fromUtf8(d.id()) == deviceID;
    });
    if (device == inputs.cend())
        return {StartResult::Outcome::inputFailed, QStringLiteral("The camera is no longer connected.")};

    m_camera = new QCamera(*device);
    if (m_camera->error() != QCamera::NoError)
        return {StartResult::Outcome::inputFailed, m_camera->errorString()};
    m_session->setCamera(m_camera);

    QEventLoop loop;
    QTimer::singleShot(startTimeoutMs, &loop, &QEventLoop::quit);
    QObject::connect(m_camera, &QCamera::activeChanged, &loop, &QEventLoop::quit);
    QObject::connect(m_camera, &QCamera::errorOccurred, &loop, &QEventLoop::quit);
    m_camera->start();
    if (!m_camera->isActive() && m_camera->error() == QCamera::NoError)
        loop.exec();
    if (m_camera->isActive())
        return {StartResult::Outcome::running, {}};
    qCWarning(lcMirror) << "Camera did not start:" << m_camera->errorString();
    if (m_camera->error() == QCamera::CameraError && !m_camera->errorString().isEmpty())
        return {StartResult::Outcome::inputFailed, m_camera->errorString()};
    return {StartResult::Outcome::notRunning, {}};
}

void QtCameraBackend::stop()
{
    // The camera's buffers and the pipeline's were freed in bursts on several threads; the C library
    // would keep them all for a camera that may not come back for days.
    if (tearDown())
        ProcessMemory::releaseFreed();
}

bool QtCameraBackend::tearDown()
{
    if (!m_session)
        return false;
    if (m_camera) {
        m_camera->stop();
        m_session->setCamera(nullptr);
        delete m_camera;
        m_camera = nullptr;
    }
    // The whole session goes with the camera, so that a closed bubble keeps no pipeline and no thread.
    delete m_session;
    m_session = nullptr;
    QMetaObject::invokeMethod(
        m_sink, [sink = m_sink] { delete sink; }, Qt::BlockingQueuedConnection);
    m_sink = nullptr;
    m_frameThread->quit();
    m_frameThread->wait();
    delete m_frameThread;
    m_frameThread = nullptr;
    {
        QMutexLocker locker(&m_mutex);
        m_pending = QVideoFrame();
    }
    m_lastFrame = QVideoFrame();
    m_frames->clear();
    return true;
}

CameraBackend::SnapshotResult QtCameraBackend::takeSnapshot()
{
    if (!m_camera || !m_camera->isActive())
        return {SnapshotResult::Outcome::notRunning, {}, {}};
    return {SnapshotResult::Outcome::captured, {}, MirrorFrameConverter::toImage(m_lastFrame)};
}
