#pragma once

#include "Mirror/AudioLevelStore.h"
#include "Mirror/MicrophoneMeterState.h"
#include "Mirror/MirrorCameraDevice.h"

#include <QObject>
#include <QTimer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

class MicrophoneCapture;
class QThread;

// The live input level of the chosen microphone while the bubble shows its meter. Audio is read on a
// thread of its own; the level crosses to the GUI thread through a locked store that a 0.05 s timer
// reads, so the meter updates twenty times a second whatever the buffer size.
class MicrophoneLevelMonitor final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the coordinator")
    Q_PROPERTY(QString state READ stateName NOTIFY stateChanged)
    Q_PROPERTY(QString stateLabel READ stateLabel NOTIFY stateChanged)
    Q_PROPERTY(QString stateIcon READ stateIcon NOTIFY stateChanged)
    Q_PROPERTY(QString stateMessage READ stateMessage NOTIFY stateChanged)
    Q_PROPERTY(double level READ level NOTIFY levelChanged)
    Q_PROPERTY(QVariantList devices READ deviceList NOTIFY devicesChanged)
    Q_PROPERTY(QString selectedDeviceID READ selectedDeviceID WRITE setSelectedDeviceID NOTIFY
                   selectedDeviceIDChanged)

public:
    static constexpr int publishIntervalMs = 50;

    explicit MicrophoneLevelMonitor(const QString &savedDeviceID, QObject *parent = nullptr);
    ~MicrophoneLevelMonitor() override;

    MicrophoneMeterState state() const { return m_state; }
    QString stateName() const { return m_state.name(); }
    QString stateLabel() const { return m_state.label(); }
    QString stateIcon() const { return m_state.iconName(); }
    QString stateMessage() const { return m_state.message(); }
    double level() const { return m_level; }
    const MirrorCameraDevices &devices() const { return m_devices; }
    QVariantList deviceList() const;
    QString selectedDeviceID() const { return m_selectedDeviceID; }

    void setSelectedDeviceID(const QString &id);

    Q_INVOKABLE void refreshDevices();
    Q_INVOKABLE void start();
    Q_INVOKABLE void stop();

    static QString noMicrophoneMessage();
    static QString noSoundServerMessage();
    static QString cannotUseMessage();
    static QString didNotStartMessage();

signals:
    void stateChanged();
    void levelChanged();
    void devicesChanged();
    void selectedDeviceIDChanged(const QString &id);

private:
    void setState(const MicrophoneMeterState &state);
    void setLevel(double level);

    QThread *m_audioThread;
    MicrophoneCapture *m_capture;
    AudioLevelStore m_store;
    QTimer m_publishTimer;

    MicrophoneMeterState m_state;
    double m_level = 0;
    MirrorCameraDevices m_devices;
    QString m_selectedDeviceID;
    quint64 m_request = 0;
};
