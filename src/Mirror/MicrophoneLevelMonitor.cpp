#include "Mirror/MicrophoneLevelMonitor.h"

#include "Core/Logging.h"
#include "Mirror/MicrophoneCapture.h"
#include "Platform/SoundServer.h"

#include <QAudioDevice>
#include <QCoreApplication>
#include <QMediaDevices>
#include <QPointer>
#include <QThread>

MicrophoneLevelMonitor::MicrophoneLevelMonitor(const QString &savedDeviceID, QObject *parent)
    : QObject(parent), m_audioThread(new QThread), m_capture(new MicrophoneCapture(&m_store)),
      m_selectedDeviceID(savedDeviceID)
{
    m_audioThread->setObjectName(QStringLiteral("mirror microphone"));
    m_capture->moveToThread(m_audioThread);
    m_audioThread->start();
    m_publishTimer.setInterval(publishIntervalMs);
    connect(&m_publishTimer, &QTimer::timeout, this, [this] { setLevel(m_store.level()); });
}

MicrophoneLevelMonitor::~MicrophoneLevelMonitor()
{
    m_publishTimer.stop();
    QMetaObject::invokeMethod(m_capture, [capture = m_capture] {
        delete capture;
        QThread::currentThread()->quit();
    });
    m_audioThread->wait();
    delete m_audioThread;
}

QVariantList MicrophoneLevelMonitor::deviceList() const
{
    return deviceVariantList(m_devices);
}

void MicrophoneLevelMonitor::setState(const MicrophoneMeterState &state)
{
    if (state == m_state)
        return;
    qCDebug(lcMirror) << "Microphone" << state.name() << state.message();
    m_state = state;
    emit stateChanged();
}

void MicrophoneLevelMonitor::setLevel(double level)
{
    if (qFuzzyCompare(level + 1, m_level + 1))
        return;
    m_level = level;
    emit levelChanged();
}

void MicrophoneLevelMonitor::setSelectedDeviceID(const QString &id)
{
    if (id == m_selectedDeviceID)
        return;
    m_selectedDeviceID = id;
    emit selectedDeviceIDChanged(id);
    // A new choice while the meter is live takes effect at once.
    if (m_state.kind() == MicrophoneMeterState::Kind::running ||
        m_state.kind() == MicrophoneMeterState::Kind::starting)
        start();
}

void MicrophoneLevelMonitor::refreshDevices()
{
    MirrorCameraDevices devices;
    for (const QAudioDevice &device : QMediaDevices::audioInputs())
        devices.append({QString::fromUtf8(device.id()), device.description()});
    if (devices != m_devices) {
        m_devices = devices;
        emit devicesChanged();
    }
    const QString repaired = repairedSelection(m_devices, m_selectedDeviceID);
    if (repaired != m_selectedDeviceID) {
        m_selectedDeviceID = repaired;
        emit selectedDeviceIDChanged(repaired);
    }
}

void MicrophoneLevelMonitor::start()
{
    refreshDevices();
    if (m_devices.isEmpty()) {
        ++m_request;
        m_publishTimer.stop();
        m_store.set(0);
        setLevel(0);
        setState(MicrophoneMeterState::unavailable(SoundServer::isReachable() ? noMicrophoneMessage()
                                                                              : noSoundServerMessage()));
        return;
    }
    if (m_state.kind() != MicrophoneMeterState::Kind::running)
        setState(MicrophoneMeterState::Kind::starting);
    const quint64 request = ++m_request;
    const QByteArray deviceID = m_selectedDeviceID.toUtf8();
    QPointer<MicrophoneLevelMonitor> self(this);
    QMetaObject::invokeMethod(m_capture, [self, capture = m_capture, deviceID, request] {
        const MicrophoneCapture::Outcome outcome = capture->start(deviceID);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, outcome, request] {
                if (!self || request != self->m_request)
                    return;
                switch (outcome) {
                case MicrophoneCapture::Outcome::cannotUse:
                    self->setState(MicrophoneMeterState::unavailable(cannotUseMessage()));
                    return;
                case MicrophoneCapture::Outcome::didNotStart:
                    self->setState(MicrophoneMeterState::unavailable(didNotStartMessage()));
                    return;
                case MicrophoneCapture::Outcome::running:
                    self->setState(MicrophoneMeterState::Kind::running);
                    self->m_publishTimer.start();
                    return;
                }
            },
            Qt::QueuedConnection);
    });
}

void MicrophoneLevelMonitor::stop()
{
    ++m_request;
    m_publishTimer.stop();
    QMetaObject::invokeMethod(m_capture, [capture = m_capture] { capture->stop(); });
    m_store.set(0);
    setState(MicrophoneMeterState::Kind::stopped);
    setLevel(0);
}

QString MicrophoneLevelMonitor::noMicrophoneMessage()
{
    return QStringLiteral("No microphone is available.");
}

QString MicrophoneLevelMonitor::noSoundServerMessage()
{
    return QStringLiteral(
        "No sound server (PulseAudio or PipeWire) is running, so no microphone is available.");
}

QString MicrophoneLevelMonitor::cannotUseMessage()
{
    return QStringLiteral("The microphone cannot be used right now.");
}

QString MicrophoneLevelMonitor::didNotStartMessage()
{
    return QStringLiteral("The microphone did not start.");
}
