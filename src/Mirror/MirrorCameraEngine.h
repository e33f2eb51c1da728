#pragma once

#include "Mirror/CameraBackend.h"
#include "Mirror/MirrorCameraDevice.h"
#include "Mirror/MirrorCameraState.h"
#include "Mirror/MirrorFrameSource.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <memory>

class Pasteboard;
class QThread;

// Owns the camera session behind the mirror bubble: lists cameras, repairs and remembers the chosen
// one, starts and stops the session and takes snaps. Every session call runs on a thread of its own,
// so the GUI thread never waits for a camera; results come back as state changes on the GUI thread.
class MirrorCameraEngine final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the coordinator")
    Q_PROPERTY(QString state READ stateName NOTIFY stateChanged)
    Q_PROPERTY(QString stateTitle READ stateTitle NOTIFY stateChanged)
    Q_PROPERTY(QString stateDetail READ stateDetail NOTIFY stateChanged)
    Q_PROPERTY(QString stateIcon READ stateIcon NOTIFY stateChanged)
    Q_PROPERTY(QVariantList devices READ deviceList NOTIFY devicesChanged)
    Q_PROPERTY(QString snapshotStatus READ snapshotStatus NOTIFY snapshotStatusChanged)
    Q_PROPERTY(QString selectedDeviceID READ selectedDeviceID WRITE setSelectedDeviceID NOTIFY
                   selectedDeviceIDChanged)
    Q_PROPERTY(bool isMirrored READ isMirrored WRITE setMirrored NOTIFY isMirroredChanged)
    Q_PROPERTY(MirrorFrameSource *frames READ frames CONSTANT)

public:
    // `savedDeviceID` is the remembered selection; every later change is announced through
    // selectedDeviceIDChanged so that the owner can store it. `pasteboard` receives the snaps.
    MirrorCameraEngine(std::unique_ptr<CameraBackend> backend, Pasteboard *pasteboard,
                       const QString &savedDeviceID, QObject *parent = nullptr);
    ~MirrorCameraEngine() override;

    MirrorCameraState state() const { return m_state; }
    QString stateName() const { return m_state.name(); }
    QString stateTitle() const { return m_state.title(); }
    QString stateDetail() const { return m_state.detail(); }
    QString stateIcon() const { return m_state.iconName(); }
    const MirrorCameraDevices &devices() const { return m_devices; }
    QVariantList deviceList() const;
    // Empty when there is none.
    QString snapshotStatus() const { return m_snapshotStatus; }
    QString selectedDeviceID() const { return m_selectedDeviceID; }
    QString runningDeviceID() const { return m_runningDeviceID; }
    bool isMirrored() const { return m_isMirrored; }
    MirrorFrameSource *frames() const;

    void setSelectedDeviceID(const QString &id);
    void setMirrored(bool mirrored);

    Q_INVOKABLE void refreshDevices();
    // Returns at once; the outcome arrives through the state.
    Q_INVOKABLE void start();
    Q_INVOKABLE void stop();
    Q_INVOKABLE void takeSnapshot();

    static QString cannotUseMessage();
    static QString didNotStartMessage();
    static QString unknownPermissionMessage();
    static QString takingSnapMessage();
    static QString startFirstMessage();
    static QString cannotCopyMessage();
    static QString missingDataMessage();
    static QString copiedMessage();

signals:
    void stateChanged();
    void devicesChanged();
    void snapshotStatusChanged();
    void selectedDeviceIDChanged(const QString &id);
    void isMirroredChanged();

private:
    void setState(const MirrorCameraState &state);
    void setSnapshotStatus(const QString &status);
    void resolveAndStart();
    // Runs `work` on the session thread and hands its result to `done` on the GUI thread, unless the
    // engine is gone by then.
    template <typename Work, typename Done> void onSession(Work work, Done done);

    std::unique_ptr<CameraBackend> m_backend;
    Pasteboard *m_pasteboard;
    QThread *m_sessionThread;
    QObject *m_sessionContext;

    MirrorCameraState m_state;
    MirrorCameraDevices m_devices;
    QString m_snapshotStatus;
    QString m_selectedDeviceID;
    QString m_runningDeviceID;
    // The device of the latest start, while it is under way.
    QString m_startingDeviceID;
    bool m_isMirrored = true;
    // Bumped by every start and stop; a session result from an older request is stale and ignored.
    quint64 m_request = 0;
};
