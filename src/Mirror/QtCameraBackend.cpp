#include "Mirror/QtCameraBackend.h"

#include "Core/Logging.h"
#include "Mirror/MirrorFrameConverter.h"
#include "Mirror/MirrorFrameSource.h"
#include "Platform/CameraDeviceAccess.h"

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
    stop();
    delete m_session;
    delete m_sessionContext;
    if (m_frameThread) {
        QMetaObject::invokeMethod(
            m_sink, [sink = m_sink] { delete sink; }, Qt::BlockingQueuedConnection);
        m_frameThread->quit();
        m_frameThread->wait();
        delete m_frameThread;
    }
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
    const QImage image = MirrorFrameConverter::toImage(frame);
    if (image.isNull())
        return;
    {
        QMutexLocker locker(&m_mutex);
        m_lastImage = image;
    }
    m_frames->publish(image);
}

CameraBackend::StartResult QtCameraBackend::start(const QString &deviceID)
{
    ensureSession();
    stop();
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
    if (!m_camera)
        return;
    m_camera->stop();
    m_session->setCamera(nullptr);
    delete m_camera;
    m_camera = nullptr;
    {
        QMutexLocker locker(&m_mutex);
        m_pending = QVideoFrame();
        m_lastImage = QImage();
    }
    m_frames->clear();
}

CameraBackend::SnapshotResult QtCameraBackend::takeSnapshot()
{
    if (!m_camera || !m_camera->isActive())
        return {SnapshotResult::Outcome::notRunning, {}, {}};
    QMutexLocker locker(&m_mutex);
    return {SnapshotResult::Outcome::captured, {}, m_lastImage};
}
