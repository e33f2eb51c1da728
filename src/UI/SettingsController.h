#pragma once

#include "Mirror/MicrophoneLevelMonitor.h"
#include "Mirror/MirrorCameraEngine.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQml/qqmlregistration.h>

class AppCommanding;
class AppState;
class LoginItem;

// What the settings view may do beyond binding to AppState: the coordinator's commands, the login
// item, and the device lists of the camera and the microphone (either may be missing in a build).
class SettingsController final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the settings window")
    Q_PROPERTY(AppState *appState READ appState CONSTANT)
    // Null when the device could not be set up.
    Q_PROPERTY(MirrorCameraEngine *camera READ camera CONSTANT)
    Q_PROPERTY(MicrophoneLevelMonitor *microphone READ microphone CONSTANT)
    Q_PROPERTY(bool startAtLogin READ startAtLogin WRITE setStartAtLogin NOTIFY startAtLoginChanged)
    // Why the last change of startAtLogin did not stick; empty when it did.
    Q_PROPERTY(QString loginItemError READ loginItemError NOTIFY startAtLoginChanged)
    Q_PROPERTY(QString versionLine READ versionLine CONSTANT)

public:
    SettingsController(AppState *appState, AppCommanding *commander, LoginItem *loginItem,
                       MirrorCameraEngine *camera, MicrophoneLevelMonitor *microphone,
                       QObject *parent = nullptr);

    AppState *appState() const { return m_appState; }
    MirrorCameraEngine *camera() const { return m_camera; }
    MicrophoneLevelMonitor *microphone() const { return m_microphone; }
    bool startAtLogin() const;
    void setStartAtLogin(bool enabled);
    QString loginItemError() const { return m_loginItemError; }
    // "Version 1.2.3 (build)"
    static QString versionLine();

    Q_INVOKABLE void clearHistory();
    Q_INVOKABLE void clearRecentHistory();
    Q_INVOKABLE void checkForUpdates();
    Q_INVOKABLE void openUpdatePage();
    Q_INVOKABLE void refreshPermissions();
    Q_INVOKABLE void openPermissionSettings(const QString &permissionID);
    Q_INVOKABLE void refreshDevices();
    Q_INVOKABLE void resetSettings();
    Q_INVOKABLE void quit();

signals:
    void startAtLoginChanged();

private:
    QPointer<AppState> m_appState;
    QPointer<AppCommanding> m_commander;
    LoginItem *m_loginItem;
    QPointer<MirrorCameraEngine> m_camera;
    QPointer<MicrophoneLevelMonitor> m_microphone;
    QString m_loginItemError;
};
